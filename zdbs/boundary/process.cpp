#include "zdbs/boundary/process.h"

#include <exception>
#include <utility>

#include "zdbs/session/active_session.h"

namespace zdbs {
namespace {

/**
 * Made for threads that need one only: the C library ends a process in which there is no memory to
 * register its end.
 */
Process &ofThread() {
    static thread_local Process inside;
    return inside;
}

std::uintptr_t numberOf(ZdbHandle handle) {
    return reinterpret_cast<std::uintptr_t>(handle);
}

}  // namespace

Process &Process::instance() {
    static Process process;
    return activeSession() != nullptr ? ofThread() : process;
}

void Process::open(std::unique_ptr<KernelSession> session) {
    session_ = std::move(session);
}

void Process::close() {
    controls_.clear();
    session_.reset();
}

KernelSession *Process::openSession() const {
    Session *active = activeSession();
    return active != nullptr ? &active_.emplace(*active) : session_.get();
}

KernelSession &Process::session() const {
    KernelSession *session = openSession();
    if (session == nullptr) throw Failure(Status::noSession);
    return *session;
}

std::int32_t Process::fail(Status status, const char *sentence) noexcept {
    lastStatus_ = status;
    try {
        lastSentence_ = sentence;
    } catch (const std::exception &) {
        lastSentence_.clear();  // no memory for the details; the general sentence will do
    }
    return static_cast<std::int32_t>(status);
}

std::string Process::sentence(std::int32_t status) const {
    bool isLast = status == static_cast<std::int32_t>(lastStatus_);
    return isLast && !lastSentence_.empty() ? lastSentence_ : sentenceFor(status);
}

ZdbHandle Process::createControl() {
    controls_.emplace(++lastHandle_, RecordControl());
    return reinterpret_cast<ZdbHandle>(lastHandle_);
}

RecordControl &Process::control(ZdbHandle handle) {
    auto place = controls_.find(numberOf(handle));
    if (place == controls_.end()) throw Failure(Status::unknownHandle);
    return place->second;
}

void Process::deleteControl(ZdbHandle handle) {
    control(handle);
    controls_.erase(numberOf(handle));
}

}  // namespace zdbs
