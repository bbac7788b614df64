#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "foundation/keyword.h"
#include "zdbs/remote/session_host.h"
#include "zdbs/serve/kernel_calls.h"
#include "zdbs/serve/pages.h"
#include "zdbs/serve/problem.h"

namespace zdbs::serve {

namespace {

using remote::Kind;
using remote::MessageReader;
using remote::MessageWriter;

struct Message {
    Kind kind;
    std::string_view content;
};

/** What is sent, taken apart. Nothing where it is empty: that asks whether there is a session. */
std::optional<Message> messageIn(std::string_view bytes) {
    if (bytes.empty()) return std::nullopt;
    const auto head = bytes.size() < remote::headSize ? std::nullopt : remote::headOf(bytes);
    if (!head || head->length != bytes.size() - remote::headSize) throw MessageReader::Malformed();
    return Message{head->kind, bytes.substr(remote::headSize)};
}

KernelSlot &slotFor(const Call &call) {
    Request &request = call.request;
    KernelSlot &slot = *request.kernel;
    if (slot.isOf(request.user)) return slot;
    slot = {};
    slot.room = call.service.roomForKernel(std::exchange(request.share, nullptr));
    slot.user = request.user;
    return slot;
}

/** What the client is told: where a limit ended the call, which. */
Problem problemFor(const Call &call, const Failure &failure) {
    const StopReason reason = call.request.stop->reason();
    const bool isLimit = reason == StopReason::time || reason == StopReason::memory ||
                         reason == StopReason::shutdown;
    return isLimit ? problemOf(reason) : Problem(failure);
}

remote::Answer failed(const Call &call, const remote::SessionHost &host, const Failure &failure) {
    const Problem problem = problemFor(call, failure);
    return host.failed(problem.kernel(), problem.what());
}

remote::Answer answerTo(const Call &call, remote::SessionHost &host,
                        const std::optional<Message> &message) {
    if (!message) return host.greeting();
    try {
        return host.answer(message->kind, message->content);
    } catch (const Failure &failure) {
        return failed(call, host, failure);
    } catch (const std::bad_alloc &) {
        return failed(call, host, Failure(Status::outOfMemory));
    }
}

void begin(const Call &call) {
    call.reply.begin({200, kernelType, {{"Cache-Control", "no-store"}}});
}

void callSession(const Call &call, KernelSlot &slot, const std::optional<Message> &message) {
    if (!slot.session)
        slot.session = std::make_unique<LocalSession>(Session::ofUser(
            std::shared_ptr<const Engine>(std::shared_ptr<void>(), &call.service.engine),
            slot.user));
    remote::SessionHost host(*slot.session);
    const std::int64_t before = heldByThread();
    const auto most = static_cast<std::int64_t>(call.service.limits()->memory * megabyte);
    const remote::Answer answer = slot.held > most
                                      ? host.failed(Status::outOfMemory,
                                                    "The session needs more memory than "
                                                    "requests may.")
                                      : answerTo(call, host, message);
    slot.held += heldByThread() - before - static_cast<std::int64_t>(answer.document.length);
    begin(call);
    call.reply.write(answer.message);
    call.reply.write(answer.document.view());
}

std::unique_ptr<KernelCommand> commandIn(const Call &call, std::string_view content) {
    std::vector<std::string> words;
    for (MessageReader reader(content); !reader.isAtEnd();)
        words.emplace_back(reader.text());
    const auto limits = call.service.limits();
    return std::make_unique<KernelCommand>(
        call.service.location, call.request.user, words,
        CommandLimits{limits->memory * megabyte, limits->result * megabyte});
}

std::unique_ptr<KernelCommand> withInput(KernelSlot &slot, std::string_view content) {
    MessageReader reader(content);
    const std::string_view input = reader.text();
    reader.end();
    if (!slot.command || input.size() > KernelCommand::longestInput)
        throw MessageReader::Malformed();
    slot.command->give(input);
    return std::move(slot.command);
}

std::unique_ptr<KernelCommand> interrupted(KernelSlot &slot) {
    slot.command->interrupt();
    return std::move(slot.command);
}

/** What comes of it before it fails is told, and then why. */
void goOn(const Call &call, KernelSlot &slot, std::unique_ptr<KernelCommand> command) {
    begin(call);
    std::string last = MessageWriter(Kind::wanted).bytes();
    try {
        const auto status = command->goOn(call.reply, *call.request.stop);
        const StopReason reason = call.request.stop->reason();
        if (reason != StopReason::none && reason != StopReason::asked)
            throw Failure(Status::stopped);
        if (status)
            last = MessageWriter(Kind::ended).number(*status).bytes();
        else
            slot.command = std::move(command);
    } catch (const Failure &failure) {
        const Problem problem = problemFor(call, failure);
        last = remote::failureText({}, problem.kernel(), problem.what());
    }
    call.reply.write(last);
}

}  // namespace

/** Who asks in another way is told how to (RFC 9110, 15.5.22). */
void openKernelSession(const Call &call) {
    const Request &request = call.request;
    const std::string protocol(remote::protocol);
    if (request.method == Method::get && equalsNoCase(request.fields.upgrade, protocol))
        return call.reply.send({101, "", {{"Upgrade", protocol}}}, "");
    const Problem problem(426, "Here the connection goes over to " + protocol + ".");
    call.reply.send({problem.http(), std::string(problemType), {{"Upgrade", protocol}}},
                    problem.json());
}

void callKernel(const Call &call) {
    try {
        const auto message = messageIn(call.request.body.text());
        KernelSlot &slot = slotFor(call);
        const Kind kind = message ? message->kind : Kind::done;
        if (kind == Kind::command) return goOn(call, slot, commandIn(call, message->content));
        if (kind == Kind::input) return goOn(call, slot, withInput(slot, message->content));
        if (kind != Kind::stop) return callSession(call, slot, message);
        if (slot.command) return goOn(call, slot, interrupted(slot));
        begin(call);  // it is of a call that was done already
    } catch (const MessageReader::Malformed &) {
        throw Problem(400, "What is sent is no message.");
    }
}

}  // namespace zdbs::serve
