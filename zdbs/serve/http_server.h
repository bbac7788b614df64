/** HTTP/1.1 at one socket, through libmicrohttpd. */
#ifndef ZDBS_SERVE_HTTP_SERVER_H
#define ZDBS_SERVE_HTTP_SERVER_H

#include <memory>

#include "zdbs/serve/certificates.h"
#include "zdbs/serve/front.h"
#include "zdbs/serve/listener.h"

namespace zdbs::serve {

/**
 * Serves from construction on, in a thread that waits for all of its connections; requests are
 * worked on elsewhere. One thread constructs and ends it.
 */
class HttpServer {
public:
    /**
     * @param certificates null: without TLS
     * @param connections most of them at once
     * Throws Failure(storeFailed).
     */
    HttpServer(Listener listener, Front &front, const Certificates *certificates,
               unsigned connections);

    /** Closes all connections. REQUIRES that no request is worked on. */
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    /** Takes no more connections. */
    void stopListening();

    const Listener &listener() const;

private:
    class Daemon;

    std::unique_ptr<Daemon> daemon_;
};

}  // namespace zdbs::serve

#endif
