#include "zdbs/base/stop.h"

#include <utility>

#include "zdbs/base/status.h"

namespace zdbs {
namespace {

thread_local const Stop *stopOfThread = nullptr;

}  // namespace

StopScope::StopScope(const Stop &stop) : outer_(std::exchange(stopOfThread, &stop)) {}

StopScope::~StopScope() {
    stopOfThread = outer_;
}

void heedStop() {
    if (stopOfThread != nullptr && stopOfThread->isRequested()) throw Failure(Status::stopped);
}

}  // namespace zdbs
