#include "zdbs/base/stop.h"

#include <utility>

#include "zdbs/base/status.h"

namespace zdbs {
namespace {

thread_local const Stop *heeded = nullptr;

}  // namespace

StopScope::StopScope(const Stop &stop) : outer_(std::exchange(heeded, &stop)) {}

StopScope::~StopScope() {
    heeded = outer_;
}

const Stop *stopOfThread() noexcept {
    return heeded;
}

void heedStop() {
    if (heeded != nullptr && heeded->isRequested()) throw Failure(Status::stopped);
}

}  // namespace zdbs
