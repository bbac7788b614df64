#include "zdbs/serve/listener.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

#include "zdbs/base/status.h"

namespace zdbs::serve {

namespace {

constexpr std::string_view unixScheme = "unix:";
constexpr int backlog = 1024;

[[noreturn]] void failSystem(const std::string &address) {
    throw Failure(Status::storeFailed, {address, std::system_category().message(errno)});
}

/** Any kind of address; it has the room of the largest. */
struct Address {
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;

    sockaddr *raw() { return reinterpret_cast<sockaddr *>(&storage); }
    int family() const { return storage.ss_family; }
};

Address unixAddress(const std::string &path) {
    Address address;
    auto &place = reinterpret_cast<sockaddr_un &>(address.storage);
    if (path.empty() || path.size() >= sizeof place.sun_path)
        throw Failure(Status::badSetting, {"listen", path});
    place.sun_family = AF_UNIX;
    std::memcpy(place.sun_path, path.c_str(), path.size() + 1);
    address.size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size() + 1);
    return address;
}

bool isPort(std::string_view text) {
    unsigned port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return error == std::errc() && end == text.data() + text.size() && port <= 65535;
}

Address internetAddress(const std::string &text) {
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || !isPort(std::string_view(text).substr(colon + 1)))
        throw Failure(Status::badSetting, {"listen", text});
    std::string host = text.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo *found = nullptr;
    const std::string port = text.substr(colon + 1);
    if (::getaddrinfo(host.empty() ? nullptr : host.c_str(), port.c_str(), &hints, &found) != 0)
        throw Failure(Status::badSetting, {"listen", text});
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> all(found, ::freeaddrinfo);
    Address address;
    std::memcpy(&address.storage, found->ai_addr, found->ai_addrlen);
    address.size = found->ai_addrlen;
    return address;
}

/** A socket that a server left behind when it was killed. */
void removeDeadSocket(const std::string &path) {
    struct stat file {};
    if (::lstat(path.c_str(), &file) != 0 || !S_ISSOCK(file.st_mode)) return;
    Address address = unixAddress(path);
    const FileDescriptor probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (::connect(probe.get(), address.raw(), address.size) == 0 || errno != ECONNREFUSED) return;
    ::unlink(path.c_str());
}

bool isLoopback(const Address &address) {
    if (address.family() == AF_INET) {
        const auto &place = reinterpret_cast<const sockaddr_in &>(address.storage);
        return (ntohl(place.sin_addr.s_addr) >> 24U) == 127;
    }
    if (address.family() == AF_INET6) {
        const auto &place = reinterpret_cast<const sockaddr_in6 &>(address.storage);
        return IN6_IS_ADDR_LOOPBACK(&place.sin6_addr);
    }
    return true;
}

std::string textOf(const Address &address) {
    if (address.family() == AF_UNIX) {
        const auto &place = reinterpret_cast<const sockaddr_un &>(address.storage);
        return std::string(unixScheme) + place.sun_path;
    }
    std::array<char, 128> host{};
    std::array<char, 16> port{};
    ::getnameinfo(reinterpret_cast<const sockaddr *>(&address.storage), address.size, host.data(),
                  host.size(), port.data(), port.size(), NI_NUMERICHOST | NI_NUMERICSERV);
    const bool isLong = address.family() == AF_INET6;
    return (isLong ? '[' + std::string(host.data()) + ']' : std::string(host.data())) + ':' +
           port.data();
}

}  // namespace

Listener::Listener(FileDescriptor socket) : socket_(std::move(socket)) {
    Address address;
    if (::getsockname(socket_.get(), address.raw(), &address.size) != 0) failSystem("socket");
    isUnix_ = address.family() == AF_UNIX;
    isBeyondLoopback_ = !isLoopback(address);
    name_ = textOf(address);
}

Listener::~Listener() {
    if (socket_ && !file_.empty()) ::unlink(file_.c_str());
}

Listener Listener::open(const std::string &text) {
    const bool isUnix = text.starts_with(unixScheme);
    const std::string path = isUnix ? text.substr(unixScheme.size()) : "";
    if (isUnix) removeDeadSocket(path);
    Address address = isUnix ? unixAddress(path) : internetAddress(text);
    FileDescriptor socket(
        ::socket(address.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket) failSystem(text);
    const int yes = 1;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (::bind(socket.get(), address.raw(), address.size) != 0) failSystem(text);
    // Whoever reaches the folder may ask; passwords say who it is.
    if (isUnix && ::chmod(path.c_str(), 0666) != 0) failSystem(text);
    if (::listen(socket.get(), backlog) != 0) failSystem(text);
    Listener listener(std::move(socket));
    listener.file_ = path;
    return listener;
}

/** sd_listen_fds(3): the descriptors from 3 on, meant for the process that LISTEN_PID names. */
std::vector<Listener> Listener::inherited() {
    constexpr int first = 3;
    std::vector<Listener> listeners;
    const char *process = std::getenv("LISTEN_PID");
    const char *count = std::getenv("LISTEN_FDS");
    if (process == nullptr || count == nullptr || std::atol(process) != ::getpid())
        return listeners;
    for (int socket = first; socket < first + std::atoi(count); ++socket) {
        ::fcntl(socket, F_SETFD, FD_CLOEXEC);
        ::fcntl(socket, F_SETFL, O_NONBLOCK);
        listeners.push_back(Listener(FileDescriptor(socket)));
    }
    ::unsetenv("LISTEN_PID");
    ::unsetenv("LISTEN_FDS");
    return listeners;
}

}  // namespace zdbs::serve
