#include "zdbs/admin/interruption.h"

#include "zdbs/admin/request_text.h"

namespace zdbs::admin {

namespace {

class InterruptStop final : public Stop {
public:
    bool allowsHelp() const noexcept override { return true; }
};

InterruptStop stop;

void requestStop(int /*signal*/) {
    stop.request();
}

}  // namespace

Interruption::Interruption() : scope_(stop) {
    stop.withdraw();
    ::sigaction(SIGINT, nullptr, &before_);
    if (before_.sa_handler == SIG_IGN) return;
    struct sigaction action {};
    action.sa_handler = requestStop;
    // Calls that wait are to end; the second signal finds what was there before.
    action.sa_flags = SA_RESETHAND;
    ::sigaction(SIGINT, &action, nullptr);
}

Interruption::~Interruption() {
    ::sigaction(SIGINT, &before_, nullptr);
}

void Interruption::endIfRequested(std::string_view request) {
    if (stop.isRequested()) throw Interrupted("Stopped: " + nameOf(request));
}

}  // namespace zdbs::admin
