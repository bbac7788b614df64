/** Bytes to a server and back. */
#ifndef ZDBS_REMOTE_STREAM_H
#define ZDBS_REMOTE_STREAM_H

#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

#include "zdbs/base/private_files.h"
#include "zdbs/remote/server_address.h"

namespace zdbs::remote {

/** A connection. One thread at a time. */
class Stream {
public:
    virtual ~Stream() = default;

    /** All of it. False where the connection is lost. */
    virtual bool send(std::string_view bytes) = 0;

    /** As many as there are, at least one; waits for them. 0: the connection is lost. */
    virtual std::size_t receive(std::span<char> room) = 0;

    /** Where what is sent is answered in parts: takes the end of one that has come as a whole.
       False: there is more, or the connection is lost. */
    virtual bool endAnswer() { return true; }

    /** Whether receive() would not wait, though the socket has nothing. */
    virtual bool holdsBytes() const = 0;

    /** To wait at. */
    virtual int socket() const = 0;
};

/**
 * Throws Failure: serverUnreachable; serverUntrusted where a password would go in the clear beyond
 * this machine and the setting ZDBS_INSECURE is not "yes", or where the certificate is not one for
 * the host by an authority of the system, or of the file that ZDBS_CA_FILE names.
 */
std::unique_ptr<Stream> connect(const ServerAddress &address);

/** Sends each text as the body of a request that begins with `head`, receives the answers' bodies.
 */
std::unique_ptr<Stream> requestStream(std::unique_ptr<Stream> stream, const ServerAddress &address,
                                      std::string head);

/** Throws what an HTTP status says about a session: loginFailed, serverRefused. */
[[noreturn]] void refuseSession(const ServerAddress &address, unsigned status);

/** Of a head; 0 for what is no HTTP. */
unsigned statusIn(std::string_view head);

/** How long connecting, and each step of getting to know each other, may take. */
inline constexpr std::chrono::seconds patience{20};

/** What connect() ends with; TLS is a library that is loaded when it is needed. */
std::unique_ptr<Stream> plainStream(FileDescriptor socket);
std::unique_ptr<Stream> tlsStream(FileDescriptor socket, const ServerAddress &address);

}  // namespace zdbs::remote

#endif
