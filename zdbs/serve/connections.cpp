#include "zdbs/serve/connections.h"

#include <poll.h>
#include <sys/socket.h>

#include <vector>

namespace zdbs::serve {

void Connections::add(Connection &connection) {
    const std::lock_guard lock(mutex_);
    open_.insert(&connection);
}

void Connections::remove(Connection &connection) {
    const std::lock_guard lock(mutex_);
    open_.erase(&connection);
}

void Connections::watch(Connection &connection, const std::shared_ptr<Exchange> &exchange) {
    const std::lock_guard lock(mutex_);
    connection.exchange_ = exchange;
}

Connections::Dropped Connections::look(Connection::Clock::time_point now) {
    const std::lock_guard lock(mutex_);
    return {dropSlow(now), dropGone()};
}

/** The thread of the connection sees its end, and closes it. */
std::size_t Connections::dropSlow(Connection::Clock::time_point now) {
    std::size_t count = 0;
    for (Connection *connection : open_) {
        if (connection->due_.load(std::memory_order_relaxed) > now.time_since_epoch().count())
            continue;
        connection->expectNothing();
        ::shutdown(connection->socket_, SHUT_RDWR);
        if (const auto exchange = connection->exchange_.lock())
            exchange->abandon(StopReason::slowClient);
        ++count;
    }
    return count;
}

/** A client that has closed its sending side is taken for one that is gone. */
std::size_t Connections::dropGone() {
    std::vector<pollfd> sockets;
    std::vector<std::shared_ptr<Exchange>> exchanges;
    for (const Connection *connection : open_) {
        auto exchange = connection->exchange_.lock();
        // The library sees to those that it is about to send something of; not to a stop.
        if (!exchange || !(exchange->isAwaited() || exchange->isKernelCall)) continue;
        // What comes while a call of a kernel runs can only be that it shall stop.
        const short more = exchange->isKernelCall ? POLLIN : 0;
        sockets.push_back({connection->socket_, static_cast<short>(POLLRDHUP | more), 0});
        exchanges.push_back(std::move(exchange));
    }
    if (sockets.empty() || ::poll(sockets.data(), sockets.size(), 0) <= 0) return 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < sockets.size(); ++i) {
        if (sockets[i].revents == POLLIN) exchanges[i]->stop.stop(StopReason::asked);
        if ((sockets[i].revents & (POLLRDHUP | POLLHUP | POLLERR)) == 0) continue;
        if (exchanges[i]->stop.reason() != StopReason::none) continue;
        exchanges[i]->abandon(StopReason::clientGone);
        ++count;
    }
    return count;
}

void Connections::stopAll(StopReason reason) {
    const std::lock_guard lock(mutex_);
    for (const Connection *connection : open_) {
        if (const auto exchange = connection->exchange_.lock()) exchange->abandon(reason);
    }
}

void Connections::closeAll() {
    const std::lock_guard lock(mutex_);
    for (const Connection *connection : open_)
        ::shutdown(connection->socket_, SHUT_RDWR);
}

std::size_t Connections::size() const {
    const std::lock_guard lock(mutex_);
    return open_.size();
}

}  // namespace zdbs::serve
