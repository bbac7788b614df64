#include "zdbs/session/active_session.h"

namespace zdbs {
namespace {

thread_local Session *active = nullptr;

}  // namespace

Session *activeSession() {
    return active;
}

ActiveSession::ActiveSession(Session *session) : before_(active) {
    active = session;
}

ActiveSession::~ActiveSession() {
    active = before_;
}

}  // namespace zdbs
