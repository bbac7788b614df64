/** The session that the C entry points act on. */
#ifndef ZDBS_SESSION_ACTIVE_SESSION_H
#define ZDBS_SESSION_ACTIVE_SESSION_H

namespace zdbs {

class Session;

/** The session of this process; null when there is none. */
Session *activeSession();

/** Makes a session the active one as long as the object lives, then the one before. */
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
