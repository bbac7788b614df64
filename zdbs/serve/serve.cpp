#include "zdbs/serve/serve.h"

#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <memory>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "zdbs/base/status.h"
#include "zdbs/engine/registry.h"
#include "zdbs/serve/certificates.h"
#include "zdbs/serve/front.h"
#include "zdbs/serve/http_server.h"
#include "zdbs/serve/listener.h"
#include "zdbs/serve/request_log.h"

namespace zdbs::serve {

namespace {

constexpr const char *usualAddress = "127.0.0.1:8080";

/** Files of databases, sockets that listen, and what else a process has open. */
constexpr std::uint64_t otherDescriptors = 256;

/** As many connections as there are descriptors for. */
unsigned connectionsFor(const Limits &limits, RequestLog &log) {
    rlimit open{};
    ::getrlimit(RLIMIT_NOFILE, &open);
    open.rlim_cur = std::max(
        open.rlim_cur, std::min<rlim_t>(open.rlim_max, limits.connections + otherDescriptors));
    ::setrlimit(RLIMIT_NOFILE, &open);
    ::getrlimit(RLIMIT_NOFILE, &open);
    const std::uint64_t room = open.rlim_cur > 2 * otherDescriptors
                                   ? open.rlim_cur - otherDescriptors
                                   : std::max<std::uint64_t>(open.rlim_cur / 2, 2);
    const std::uint64_t most = std::min(limits.connections, room);
    log.say("Up to " + std::to_string(most) + " connections at once" +
            (most < limits.connections ? ": the process may open no more files." : "."));
    return static_cast<unsigned>(most);
}

std::vector<Listener> listenersFor(const Settings &settings) {
    std::vector<Listener> listeners = Listener::inherited();
    std::vector<std::string> addresses = settings.listen;
    if (addresses.empty() && listeners.empty()) addresses.push_back(usualAddress);
    for (const std::string &address : addresses)
        listeners.push_back(Listener::open(address));
    return listeners;
}

/** Passwords do not go over a network in the clear. */
void requireSafe(const std::vector<Listener> &listeners, const Settings &settings) {
    if (settings.certificate.empty() != settings.key.empty())
        throw Failure(Status::badSetting, {"tls", "certificate and key go together"});
    if (!settings.certificate.empty() || settings.isInsecure) return;
    for (const Listener &listener : listeners) {
        if (listener.isBeyondLoopback())
            throw Failure(
                Status::badSetting,
                {"listen", listener.name() + " is reached by other machines; give --tls-cert and "
                                             "--tls-key, or --insecure"});
    }
}

/** The signals that a server lives by, held back for wait(). */
class Signals {
public:
    Signals() {
        ::signal(SIGPIPE, SIG_IGN);
        sigemptyset(&held_);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP})
            sigaddset(&held_, signal);
        ::pthread_sigmask(SIG_BLOCK, &held_, nullptr);
    }

    /** Nothing when none came in time. */
    std::optional<int> wait(std::chrono::nanoseconds time) const {
        const timespec most = {static_cast<time_t>(time.count() / 1'000'000'000),
                               static_cast<long>(time.count() % 1'000'000'000)};
        const int signal = ::sigtimedwait(&held_, nullptr, &most);
        return signal > 0 ? std::optional(signal) : std::nullopt;
    }

private:
    sigset_t held_{};
};

/** How often connections are looked at. */
constexpr auto tick = std::chrono::milliseconds(200);

class Server {
public:
    Server(const std::string &location, const Settings &settings,
           const std::function<void(std::string_view)> &ready)
        : settings_(settings),
          log_(settings.log),
          engine_(openEngine(location)),
          home_(administer(location)),
          front_(*engine_, *home_, location, settings, log_) {
        std::vector<Listener> listeners = listenersFor(settings);
        requireSafe(listeners, settings);
        if (!settings.certificate.empty())
            certificates_ = std::make_unique<Certificates>(settings.certificate, settings.key);
        if (!canCountMemory())
            log_.say("This program counts no memory; the limit of it does not hold.");
        const unsigned most = connectionsFor(*front_.limits(), log_);
        const auto each = std::max<unsigned>(2, most / static_cast<unsigned>(listeners.size()));
        for (Listener &listener : listeners)
            start(std::move(listener), each);
        for (const auto &server : servers_)
            ready(server->listener().name());
    }

    void run() {
        for (;;) {
            const auto signal = signals_.wait(tick);
            front_.look();
            if (signal == SIGHUP) reload();
            if (signal == SIGTERM || signal == SIGINT) break;
        }
        end();
    }

private:
    using Clock = std::chrono::steady_clock;

    void start(Listener listener, unsigned connections) {
        const bool isEncrypted = certificates_ != nullptr && !listener.isUnix();
        log_.say("Listening at " + listener.name() + (isEncrypted ? " with TLS." : "."));
        servers_.push_back(std::make_unique<HttpServer>(
            std::move(listener), front_, isEncrypted ? certificates_.get() : nullptr, connections));
    }

    void reload() {
        try {
            front_.takeLimits(limitsOf(settings_));
            if (certificates_) certificates_->reload();
            log_.reopen();
            log_.say("Settings, certificate and log were taken up anew.");
        } catch (const Failure &failure) {
            log_.say(std::string("Not taken up: ") + failure.what());
        }
    }

    /** Those that run may end by themselves, within the grace; all are stopped then. */
    void end() {
        log_.say("Ending.");
        for (const auto &server : servers_)
            server->stopListening();
        front_.refuseAll();
        Clock::time_point due = Clock::now() + std::chrono::seconds(front_.limits()->grace);
        while (front_.isBusy() && Clock::now() < due) {
            if (signals_.wait(std::chrono::milliseconds(20))) due = Clock::now();
            front_.look();
        }
        // What is stopped has a moment to say so to its client.
        due = Clock::now() + std::chrono::seconds(2);
        while (front_.isBusy()) {
            front_.stopAll();
            front_.look();
            if (Clock::now() > due) front_.connections.closeAll();
            signals_.wait(std::chrono::milliseconds(20));
        }
        servers_.clear();
        log_.say("Ended.");
    }

    Settings settings_;
    Signals signals_;
    RequestLog log_;
    std::shared_ptr<const Engine> engine_;
    std::unique_ptr<Administration> home_;
    Front front_;
    std::unique_ptr<Certificates> certificates_;
    std::vector<std::unique_ptr<HttpServer>> servers_;
};

}  // namespace

void serve(const std::string &location, const Settings &settings,
           const std::function<void(std::string_view)> &ready) {
    Server(location, settings, ready).run();
}

}  // namespace zdbs::serve
