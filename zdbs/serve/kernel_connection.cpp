#include "zdbs/serve/kernel_connection.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace zdbs::serve {

namespace {

constexpr std::size_t block = std::size_t{16} * 1024;

void limitTime(int socket, int option, std::chrono::seconds time) {
    const timeval most = {time.count(), 0};
    ::setsockopt(socket, SOL_SOCKET, option, &most, sizeof most);
}

}  // namespace

KernelConnection::KernelConnection(int socket, Times times) : socket_(socket), times_(times) {
    ::fcntl(socket, F_SETFL, ::fcntl(socket, F_GETFL) & ~O_NONBLOCK);
    limitTime(socket, SO_SNDTIMEO, times.stall);
    limitTime(socket, SO_RCVTIMEO, times.idle);
}

void KernelConnection::limit(std::chrono::seconds time) {
    limitTime(socket_, SO_RCVTIMEO, time);
}

/** Memory is taken for what has come, whatever its length is said to be. */
bool KernelConnection::require(std::size_t size) {
    bool isWithin = false;
    while (buffer_.size() - begin_ < size) {
        const bool hasPart = buffer_.size() > begin_ || size > remote::headSize;
        if (hasPart && !isWithin) limit(times_.stall);
        isWithin = isWithin || hasPart;
        buffer_.erase(0, begin_);
        begin_ = 0;
        const std::size_t before = buffer_.size();
        buffer_.resize(before + block);
        ssize_t got = 0;
        do {
            got = ::recv(socket_, buffer_.data() + before, block, 0);
        } while (got < 0 && errno == EINTR);
        const bool isLate = got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        buffer_.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        if (got > 0) continue;
        end_ = isLate ? End::idle : End::closed;
        return false;
    }
    if (isWithin) limit(times_.idle);
    return true;
}

std::optional<KernelConnection::Call> KernelConnection::receive() {
    if (!require(remote::headSize)) return std::nullopt;
    const auto head = remote::headOf(std::string_view(buffer_).substr(begin_));
    if (!head || head->length > remote::longestCall) {
        end_ = End::malformed;
        return std::nullopt;
    }
    const std::size_t whole = remote::headSize + head->length;
    if (!require(whole)) return std::nullopt;
    const auto content = std::string_view(buffer_).substr(begin_ + remote::headSize, head->length);
    begin_ += whole;
    return Call{head->kind, content};
}

bool KernelConnection::send(std::string_view bytes, std::string_view more) {
    while (!bytes.empty() || !more.empty()) {
        std::array<iovec, 2> pieces = {{{const_cast<char *>(bytes.data()), bytes.size()},
                                        {const_cast<char *>(more.data()), more.size()}}};
        msghdr message{};
        message.msg_iov = pieces.data();
        message.msg_iovlen = pieces.size();
        const ssize_t sent = ::sendmsg(socket_, &message, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        const auto first = std::min(bytes.size(), static_cast<std::size_t>(sent));
        bytes.remove_prefix(first);
        more.remove_prefix(static_cast<std::size_t>(sent) - first);
    }
    return true;
}

void KernelConnection::closeReceiving() {
    isClosed_ = true;
    ::shutdown(socket_, SHUT_RD);
}

KernelConnection::Ahead KernelConnection::look() const {
    if (isClosed_) return Ahead::nothing;
    std::array<char, remote::headSize> bytes{};
    ssize_t got = static_cast<ssize_t>(buffer_.size() - begin_);
    if (got >= static_cast<ssize_t>(bytes.size()))
        buffer_.copy(bytes.data(), bytes.size(), begin_);
    else
        got = ::recv(socket_, bytes.data(), bytes.size(), MSG_PEEK | MSG_DONTWAIT);
    if (got == 0 || (got < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR))
        return Ahead::end;
    if (got < static_cast<ssize_t>(bytes.size())) return Ahead::nothing;
    const auto head = remote::headOf({bytes.data(), bytes.size()});
    return head && head->kind == remote::Kind::stop ? Ahead::stop : Ahead::nothing;
}

}  // namespace zdbs::serve
