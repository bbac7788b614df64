/** The server's side of the calls: one message in, one out. */
#ifndef ZDBS_REMOTE_SESSION_HOST_H
#define ZDBS_REMOTE_SESSION_HOST_H

#include <string>
#include <string_view>

#include "zdbs/remote/kernel_session.h"

namespace zdbs::remote {

/** An answer as it is to be sent: one behind the other. */
struct Answer {
    std::string message;
    DocumentBlock document;
};

/**
 * Runs calls in a session, which outlives it. One thread at a time.
 */
class SessionHost {
public:
    explicit SessionHost(KernelSession &session) : session_(session) {}

    /**
     * Throws MessageReader::Malformed for what is no call, and what the call throws; failed() makes
     * the answer of that.
     */
    Answer answer(Kind kind, std::string_view content);

    /** What a server begins with. */
    Answer greeting() const { return done(); }

    Answer failed(Status status, std::string_view sentence) const;

private:
    SessionState state() const;
    Answer done() const;
    Answer record(MessageReader &reader);
    Answer exported(MessageReader &reader);

    KernelSession &session_;
};

}  // namespace zdbs::remote

#endif
