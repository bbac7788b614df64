/** A session in a server. */
#ifndef ZDBS_REMOTE_REMOTE_SESSION_H
#define ZDBS_REMOTE_REMOTE_SESSION_H

#include <string>
#include <string_view>

#include "zdbs/remote/channel.h"
#include "zdbs/remote/kernel_session.h"

namespace zdbs::remote {

/**
 * Carries each call to the server and its answer back; the last search comes with each answer. In
 * addition to what the calls throw: serverLost, after which all of them do.
 */
class RemoteSession final : public KernelSession {
public:
    /** @param location as of isServed() */
    RemoteSession(std::string_view location, std::string_view user, std::string_view password)
        : channel_(parseServerAddress(location), user, password) {}

    /** For tests. */
    explicit RemoteSession(std::unique_ptr<Stream> stream) : channel_(std::move(stream)) {}

    void execute(std::string_view command) override;
    LastSearch lastSearch() const override;
    void saveStatus() override;
    void loadStatus() override;
    bool hasDatabase(std::string_view database) override;
    PlacedRecord record(std::int32_t set, std::int32_t ordinal) override;
    DocumentBlock exportText(ExportFilter filter, std::string_view arguments,
                             bool highlight) override;

private:
    Channel::Received call(MessageWriter &message, Kind wanted, bool heedsStop);

    /** Reads the state of an answer, and by `read` what else is in it. */
    template <typename Read>
    void call(MessageWriter &message, bool heedsStop, Read read);
    void call(MessageWriter &message, bool heedsStop = false);
    [[noreturn]] void fail(std::string_view content);

    Channel channel_;
    SessionState state_;
};

}  // namespace zdbs::remote

#endif
