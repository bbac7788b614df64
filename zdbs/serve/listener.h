/** Sockets that clients come to. */
#ifndef ZDBS_SERVE_LISTENER_H
#define ZDBS_SERVE_LISTENER_H

#include <string>
#include <vector>

#include "zdbs/base/private_files.h"

namespace zdbs::serve {

/** A socket that listens; a unix socket of ours is removed with it. */
class Listener {
public:
    /**
     * HOST:PORT, [HOST]:PORT or unix:PATH; port 0 is any that is free. A socket that nobody listens
     * at any more is replaced. Throws Failure: badSetting, storeFailed.
     */
    static Listener open(const std::string &address);

    /** What the service manager handed over (LISTEN_FDS), once; none without one. */
    static std::vector<Listener> inherited();

    Listener(Listener &&) = default;
    Listener &operator=(Listener &&) = default;
    ~Listener();

    int socket() const { return socket_.get(); }

    /** Where it is, as clients name it: "127.0.0.1:41207", "unix:/run/zdbs.sock". */
    const std::string &name() const { return name_; }

    bool isUnix() const { return isUnix_; }

    /** Whether others than this machine reach it. */
    bool isBeyondLoopback() const { return isBeyondLoopback_; }

private:
    explicit Listener(FileDescriptor socket);

    FileDescriptor socket_;
    std::string name_;
    std::string file_;  ///< to be removed; or empty
    bool isUnix_ = false;
    bool isBeyondLoopback_ = false;
};

}  // namespace zdbs::serve

#endif
