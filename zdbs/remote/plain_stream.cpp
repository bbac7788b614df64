#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

#include "zdbs/base/status.h"
#include "zdbs/engine/registry.h"
#include "zdbs/remote/stream.h"

namespace zdbs::remote {

namespace {

class PlainStream final : public Stream {
public:
    explicit PlainStream(FileDescriptor socket) : socket_(std::move(socket)) {}

    bool send(std::string_view bytes) override {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent < 0 && errno == EINTR) continue;
            if (sent < 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    std::size_t receive(std::span<char> room) override {
        for (;;) {
            const ssize_t got = ::recv(socket_.get(), room.data(), room.size(), 0);
            if (got >= 0) return static_cast<std::size_t>(got);
            if (errno != EINTR) return 0;
        }
    }

    bool holdsBytes() const override { return false; }
    int socket() const override { return socket_.get(); }

private:
    FileDescriptor socket_;
};

[[noreturn]] void failUnreachable(const ServerAddress &address, int error) {
    const bool isLate = error == EINPROGRESS || error == EAGAIN;
    throw Failure(Status::serverUnreachable,
                  {address.name, std::system_category().message(isLate ? ETIMEDOUT : error)});
}

FileDescriptor connectTo(const sockaddr *place, socklen_t size, int &error) {
    FileDescriptor socket(::socket(place->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const timeval most = {patience.count(), 0};
    // This limits connecting, too.
    ::setsockopt(socket.get(), SOL_SOCKET, SO_SNDTIMEO, &most, sizeof most);
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &most, sizeof most);
    if (::connect(socket.get(), place, size) == 0) return socket;
    error = errno;
    return {};
}

FileDescriptor connectLocally(const ServerAddress &address) {
    sockaddr_un place{};
    if (address.host.size() >= sizeof place.sun_path)
        throw Failure(Status::badSetting, {"ZDBS_HOME", address.name});
    place.sun_family = AF_UNIX;
    std::memcpy(place.sun_path, address.host.c_str(), address.host.size() + 1);
    int error = 0;
    FileDescriptor socket =
        connectTo(reinterpret_cast<const sockaddr *>(&place), sizeof place, error);
    if (!socket) failUnreachable(address, error);
    return socket;
}

bool isLoopback(const sockaddr *place) {
    if (place->sa_family == AF_INET) {
        const auto *address = reinterpret_cast<const sockaddr_in *>(place);
        return (ntohl(address->sin_addr.s_addr) >> 24U) == 127;
    }
    return place->sa_family == AF_INET6 &&
           IN6_IS_ADDR_LOOPBACK(&reinterpret_cast<const sockaddr_in6 *>(place)->sin6_addr);
}

void requireSafe(const ServerAddress &address, const sockaddr *place) {
    if (address.kind == ServerAddress::Kind::tls || isLoopback(place)) return;
    if (configured("ZDBS_INSECURE") == "yes") return;
    throw Failure(Status::serverUntrusted,
                  {address.name,
                   "it is another machine, and passwords can be read on the way; use "
                   "https, or the setting ZDBS_INSECURE=yes"});
}

/** A server that is gone without a word is noticed. */
void setUp(int socket) {
    const auto set = [socket](int level, int option, int value) {
        ::setsockopt(socket, level, option, &value, sizeof value);
    };
    set(IPPROTO_TCP, TCP_NODELAY, 1);
    set(SOL_SOCKET, SO_KEEPALIVE, 1);
    set(IPPROTO_TCP, TCP_KEEPIDLE, 30);
    set(IPPROTO_TCP, TCP_KEEPINTVL, 10);
    set(IPPROTO_TCP, TCP_KEEPCNT, 3);
    set(IPPROTO_TCP, TCP_USER_TIMEOUT, 60000);
}

FileDescriptor connectOverNetwork(const ServerAddress &address) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo *found = nullptr;
    const int status = ::getaddrinfo(address.host.c_str(), address.port.c_str(), &hints, &found);
    if (status != 0)
        throw Failure(Status::serverUnreachable, {address.name, ::gai_strerror(status)});
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> all(found, ::freeaddrinfo);
    int error = 0;
    for (const addrinfo *each = found; each != nullptr; each = each->ai_next) {
        requireSafe(address, each->ai_addr);
        FileDescriptor socket = connectTo(each->ai_addr, each->ai_addrlen, error);
        if (!socket) continue;
        setUp(socket.get());
        return socket;
    }
    failUnreachable(address, error);
}

}  // namespace

std::unique_ptr<Stream> plainStream(FileDescriptor socket) {
    return std::make_unique<PlainStream>(std::move(socket));
}

std::unique_ptr<Stream> connect(const ServerAddress &address) {
    if (address.kind == ServerAddress::Kind::unixSocket)
        return plainStream(connectLocally(address));
    FileDescriptor socket = connectOverNetwork(address);
    return address.kind == ServerAddress::Kind::tls ? tlsStream(std::move(socket), address)
                                                    : plainStream(std::move(socket));
}

}  // namespace zdbs::remote
