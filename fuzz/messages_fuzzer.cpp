/**
 * The messages between kernel libraries and servers. A server takes the input for calls; a client
 * takes it for answers. Neither may come to harm, nor take memory for what has not come.
 */
#include <sys/socket.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "zdbs/remote/remote_session.h"
#include "zdbs/remote/session_host.h"

namespace {

using namespace zdbs;

/** Answers everything with a little. */
class AnySession final : public KernelSession {
public:
    void execute(std::string_view command) override {
        if (command.size() % 2 == 1) throw Failure(Status::syntaxError);
    }
    LastSearch lastSearch() const override { return {}; }
    void saveStatus() override {}
    void loadStatus() override {}
    bool hasDatabase(std::string_view) override { return true; }
    remote::PlacedRecord record(std::int32_t, std::int32_t) override { return {}; }
    DocumentBlock exportText(ExportFilter, std::string_view text, bool) override {
        DocumentSink sink(text.size() + 1);
        sink.write(text);
        return sink.take();
    }
};

void serve(std::string_view input) {
    AnySession session;
    remote::SessionHost host(session);
    while (input.size() >= remote::headSize) {
        const auto head = remote::headOf(input);
        input.remove_prefix(remote::headSize);
        if (!head || head->length > input.size()) return;
        try {
            const remote::Answer answer = host.answer(head->kind, input.substr(0, head->length));
            if (!remote::headOf(answer.message)) std::abort();
        } catch (const remote::MessageReader::Malformed &) {
            return;
        } catch (const Failure &) {
        }
        input.remove_prefix(head->length);
    }
}

template <typename Call>
void ask(Call call) {
    try {
        call();
    } catch (const Failure &) {
    }
}

/** @param asRequests the answers are bodies of HTTP */
void askServerThatSends(std::string_view input, bool asRequests) {
    std::array<int, 2> pair{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair.data()) != 0) std::abort();
    const FileDescriptor server(pair[1]);
    auto stream = remote::plainStream(FileDescriptor(pair[0]));
    if (asRequests)
        stream = remote::requestStream(std::move(stream),
                                       remote::parseServerAddress("https://host"), "POST /");
    remote::RemoteSession session(std::move(stream));
    if (::send(server.get(), input.data(), input.size(), MSG_DONTWAIT) < 0) return;
    ::shutdown(server.get(), SHUT_WR);
    ask([&] { session.execute("FIND N_ID=$"); });
    ask([&] { session.lastSearch(); });
    ask([&] { session.record(1, 1); });
    ask([&] { session.exportText(ExportFilter::fragments, "", false); });
    ask([&] { session.hasDatabase("plays"); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char *>(data), size);
    serve(input);
    if (input.empty() || size > 4096) return 0;
    askServerThatSends(input, false);
    askServerThatSends(input, true);
    return 0;
}
