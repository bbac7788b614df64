/** The session that the C entry points act on. */
#ifndef ZDBS_SESSION_ACTIVE_SESSION_H
#define ZDBS_SESSION_ACTIVE_SESSION_H

namespace zdbs {

class Session;

/** The session that this thread has made the active one; null when there is none. */
Session *activeSession();

/**
 * Makes a session the active one of its thread as long as the object lives, then the one before:
 * requests of several threads run beside each other, each in a session of its own.
 */
class ActiveSession {
public:
    explicit ActiveSession(Session *session);
    ~ActiveSession();
    ActiveSession(const ActiveSession &) = delete;
    ActiveSession &operator=(const ActiveSession &) = delete;

private:
    Session *before_;
};

}  // namespace zdbs

#endif
