#include "zdbs/serve/http_server.h"

#include <microhttpd.h>
#include <netdb.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "foundation/keyword.h"
#include "zdbs/serve/visit.h"

namespace zdbs::serve {

namespace {

constexpr unsigned kilobyte = 1024;

socklen_t sizeOf(const sockaddr *address) {
    return address->sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
}

std::string clientOf(MHD_Connection *connection) {
    const auto *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
    const sockaddr *address = info != nullptr ? info->client_addr : nullptr;
    if (address == nullptr || (address->sa_family != AF_INET && address->sa_family != AF_INET6))
        return "unix";
    std::array<char, 128> host{};
    ::getnameinfo(address, sizeOf(address), host.data(), host.size(), nullptr, 0, NI_NUMERICHOST);
    return host.data();
}

Connection &connectionOf(MHD_Connection *connection) {
    const auto *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_SOCKET_CONTEXT);
    return *static_cast<Connection *>(info->socket_context);
}

// What libmicrohttpd calls. Nothing may be thrown into it.

void *requestBegins(void *front, const char *target, MHD_Connection *connection) {
    try {
        return new Visit(*static_cast<Front *>(front), connectionOf(connection), connection,
                         target);
    } catch (const std::exception &) {
        return nullptr;
    }
}

MHD_Result requestComes(void *, MHD_Connection *, const char *, const char *method,
                        const char *version, const char *data, std::size_t *size, void **context) {
    auto *visit = static_cast<Visit *>(*context);
    if (visit == nullptr) return MHD_NO;
    try {
        const bool goesOn = visit->come(method, version, std::string_view(data, *size));
        *size = 0;
        return goesOn ? MHD_YES : MHD_NO;
    } catch (const std::exception &) {
        return MHD_NO;
    }
}

void requestEnds(void *, MHD_Connection *, void **context, MHD_RequestTerminationCode code) {
    const std::unique_ptr<Visit> visit(static_cast<Visit *>(*context));
    *context = nullptr;
    if (!visit) return;
    try {
        visit->end(code == MHD_REQUEST_TERMINATED_COMPLETED_OK);
    } catch (const std::exception &) {
        // Out of memory at the most: a line of the log is lost.
    }
}

void connectionChanges(void *context, MHD_Connection *connection, void **socketContext,
                       MHD_ConnectionNotificationCode code) {
    auto &front = *static_cast<Front *>(context);
    if (code == MHD_CONNECTION_NOTIFY_STARTED) {
        const auto *info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        auto fresh = std::make_unique<Connection>(info->connect_fd, clientOf(connection));
        fresh->expect(std::chrono::seconds(front.limits()->idle));
        front.connections.add(*fresh);
        ++front.metrics.connections;
        *socketContext = fresh.release();
        return;
    }
    const std::unique_ptr<Connection> ended(static_cast<Connection *>(*socketContext));
    if (ended) front.connections.remove(*ended);
    *socketContext = nullptr;
}

/** Certificates are found by this, as the library hands nothing else on. */
const Certificates *shownCertificates = nullptr;

int showCertificate(gnutls_session_t, const gnutls_datum_t *, int, const gnutls_pk_algorithm_t *,
                    int, gnutls_pcert_st **chain, unsigned *length, gnutls_privkey_t *key) {
    shownCertificates->show(chain, length, key);
    return 0;
}

}  // namespace

class HttpServer::Daemon {
public:
    Daemon(Listener listener, Front &front, const Certificates *certificates, unsigned connections)
        : listener_(std::move(listener)) {
        unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME |
                         MHD_ALLOW_UPGRADE | MHD_USE_ITC;
        // An option more with TLS; without it the list ends there.
        MHD_OptionItem certificate = {MHD_OPTION_END, 0, nullptr};
        if (certificates != nullptr) {
            flags |= MHD_USE_TLS;
            shownCertificates = certificates;
            certificate = {MHD_OPTION_HTTPS_CERT_CALLBACK, 0,
                           reinterpret_cast<void *>(showCertificate)};
        }
        std::array<MHD_OptionItem, 2> more = {certificate, {MHD_OPTION_END, 0, nullptr}};
        const std::size_t memory = front.limits()->header * kilobyte;
        daemon_ = MHD_start_daemon(
            flags, 0, nullptr, nullptr, requestComes, &front, MHD_OPTION_LISTEN_SOCKET,
            listener_.socket(), MHD_OPTION_CONNECTION_LIMIT, connections,
            MHD_OPTION_CONNECTION_MEMORY_LIMIT, memory, MHD_OPTION_URI_LOG_CALLBACK, requestBegins,
            &front, MHD_OPTION_NOTIFY_COMPLETED, requestEnds, &front, MHD_OPTION_NOTIFY_CONNECTION,
            connectionChanges, &front, MHD_OPTION_STRICT_FOR_CLIENT, 0,
            MHD_OPTION_SIGPIPE_HANDLED_BY_APP, 1, MHD_OPTION_ARRAY, more.data(), MHD_OPTION_END);
        if (daemon_ == nullptr)
            throw Failure(Status::storeFailed,
                          {listener_.name(), std::system_category().message(errno)});
    }
    ~Daemon() { MHD_stop_daemon(daemon_); }
    Daemon(const Daemon &) = delete;
    Daemon &operator=(const Daemon &) = delete;

    void stopListening() { MHD_quiesce_daemon(daemon_); }
    const Listener &listener() const { return listener_; }

private:
    Listener listener_;
    MHD_Daemon *daemon_ = nullptr;
};

HttpServer::HttpServer(Listener listener, Front &front, const Certificates *certificates,
                       unsigned connections)
    : daemon_(std::make_unique<Daemon>(std::move(listener), front, certificates, connections)) {}

HttpServer::~HttpServer() = default;

void HttpServer::stopListening() {
    daemon_->stopListening();
}

const Listener &HttpServer::listener() const {
    return daemon_->listener();
}

}  // namespace zdbs::serve
