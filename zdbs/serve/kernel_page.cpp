#include <new>

#include "foundation/keyword.h"
#include "zdbs/remote/session_host.h"
#include "zdbs/serve/kernel_calls.h"
#include "zdbs/serve/pages.h"
#include "zdbs/serve/problem.h"

namespace zdbs::serve {

namespace {

KernelSlot &slotFor(const Call &call) {
    KernelSlot &slot = *call.request.kernel;
    if (slot.session && slot.user == call.request.user) return slot;
    slot = {};
    slot.room = call.service.roomForKernel(call.request.user);
    slot.user = call.request.user;
    slot.session = std::make_unique<LocalSession>(Session::ofUser(
        std::shared_ptr<const Engine>(std::shared_ptr<void>(), &call.service.engine), slot.user));
    return slot;
}

/** What the client is told: where a limit ended the call, which. */
remote::Answer failed(const Call &call, const remote::SessionHost &host, const Failure &failure) {
    const StopReason reason = call.request.stop->reason();
    const bool isLimit = reason == StopReason::time || reason == StopReason::memory ||
                         reason == StopReason::shutdown;
    const Problem problem = isLimit ? problemOf(reason) : Problem(failure);
    return host.failed(problem.kernel(), problem.what());
}

remote::Answer answerTo(const Call &call, remote::SessionHost &host, std::string_view message) {
    if (message.empty()) return host.greeting();
    const auto head = message.size() < remote::headSize ? std::nullopt : remote::headOf(message);
    if (!head || head->length != message.size() - remote::headSize)
        throw Problem(400, "What is sent is no message.");
    if (head->kind == remote::Kind::stop) return {};  // of a call that was done already
    try {
        return host.answer(head->kind, message.substr(remote::headSize));
    } catch (const remote::MessageReader::Malformed &) {
        throw Problem(400, "What is sent is no message.");
    } catch (const Failure &failure) {
        return failed(call, host, failure);
    } catch (const std::bad_alloc &) {
        return failed(call, host, Failure(Status::outOfMemory));
    }
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
    constexpr std::int64_t megabyte = 1'000'000;
    KernelSlot &slot = slotFor(call);
    remote::SessionHost host(*slot.session);
    const std::int64_t before = heldByThread();
    const auto most = static_cast<std::int64_t>(call.service.limits()->memory) * megabyte;
    const remote::Answer answer = slot.held > most
                                      ? host.failed(Status::outOfMemory,
                                                    "The session needs more memory than "
                                                    "requests may.")
                                      : answerTo(call, host, call.request.body.text());
    slot.held += heldByThread() - before - static_cast<std::int64_t>(answer.document.length);
    call.reply.begin({200, kernelType, {{"Cache-Control", "no-store"}}});
    call.reply.write(answer.message);
    call.reply.write(answer.document.view());
}

}  // namespace zdbs::serve
