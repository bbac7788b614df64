/** A session is asked for as a request of HTTP, whose connection then carries messages. */
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <charconv>

#include "zdbs/remote/channel.h"

namespace zdbs::remote {

namespace {

constexpr std::size_t longestHead = std::size_t{16} * 1024;

std::string toBase64(std::string_view text) {
    constexpr std::string_view letters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    for (std::size_t i = 0; i < text.size(); i += 3) {
        std::uint32_t bits = 0;
        for (std::size_t each = i; each < i + 3; ++each)
            bits = bits << 8U | (each < text.size() ? static_cast<unsigned char>(text[each]) : 0U);
        for (std::size_t each = 0; each < 4; ++each)
            result += i + each > text.size() ? '=' : letters[bits >> (18 - 6 * each) & 63U];
    }
    return result;
}

/** What requests have in their heads. */
std::string fieldsFor(const ServerAddress &address, std::string_view user,
                      std::string_view password) {
    // No user has a colon in the name; with one in it another user would be asked for.
    const std::string_view name = user.find(':') == std::string_view::npos ? user : "";
    const std::string login = std::string(name) + ':' + std::string(password);
    return address.folder + std::string(kernelPlace) + " HTTP/1.1\r\nHost: " + address.authority() +
           "\r\nAuthorization: Basic " + toBase64(login) + "\r\n";
}

struct Refusal {
    unsigned status;
    const char *reason;
};

constexpr std::array<Refusal, 7> refusals = {{
    {0, "what answers is no server of databases"},
    {404, "it has no place for sessions; it may be of an older version"},
    {426, "it speaks another version of the protocol"},
    {429, "the user has too many requests or sessions at once"},
    {431, "user and password are too long"},
    {501, "it opens no sessions"},
    {503, "it is busy, or ending"},
}};

}  // namespace

unsigned statusIn(std::string_view head) {
    constexpr std::string_view version = "HTTP/1.1 ";
    unsigned status = 0;
    if (!head.starts_with(version)) return 0;
    std::from_chars(head.data() + version.size(), head.data() + head.size(), status);
    return status;
}

void refuseSession(const ServerAddress &address, unsigned status) {
    if (status == 401) throw Failure(Status::loginFailed);
    for (const Refusal &each : refusals) {
        if (each.status == status)
            throw Failure(Status::serverRefused, {address.name, each.reason});
    }
    throw Failure(Status::serverRefused,
                  {address.name, "it answers by HTTP status " + std::to_string(status)});
}

Channel::Channel(const ServerAddress &address, std::string_view user, std::string_view password,
                 Use use)
    : stream_(connect(address)) {
    const std::string fields = fieldsFor(address, user, password);
    if (address.kind == ServerAddress::Kind::tls || use == Use::commands)
        stream_ = requestStream(std::move(stream_), address, "POST " + fields);
    else
        upgrade(address, "GET " + fields);
    // It has a session, or says farewell.
    if (receive(false).kind != Kind::done) endMalformed();
    // From now on calls may take as long as the server lets them.
    const timeval unlimited{};
    ::setsockopt(stream_->socket(), SOL_SOCKET, SO_RCVTIMEO, &unlimited, sizeof unlimited);
}

void Channel::upgrade(const ServerAddress &address, const std::string &request) {
    stream_->send(request + "Connection: Upgrade\r\nUpgrade: " + std::string(protocol) +
                  "\r\n\r\n");
    const std::string head(readHead());
    if (head.empty() && buffered().empty())
        throw Failure(Status::serverRefused,
                      {address.name, address.kind == ServerAddress::Kind::plain
                                         ? "it ended the connection; it may want https"
                                         : "it ended the connection"});
    const unsigned status = statusIn(head);
    if (status != 101) refuseSession(address, status);
}

/** Up to the empty line; what comes behind it are messages. */
std::string_view Channel::readHead() {
    constexpr std::string_view end = "\r\n\r\n";
    while (buffer_.find(end) == std::string::npos && buffer_.size() < longestHead) {
        const std::size_t before = buffer_.size();
        buffer_.resize(before + longestHead);
        const std::size_t got = stream_->receive({buffer_.data() + before, longestHead});
        buffer_.resize(before + got);
        if (got == 0) break;
    }
    const std::size_t place = buffer_.find(end);
    if (place == std::string::npos) return "";
    return take(place + end.size());
}

}  // namespace zdbs::remote
