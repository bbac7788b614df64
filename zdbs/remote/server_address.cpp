#include "zdbs/remote/server_address.h"

#include <algorithm>

#include "zdbs/base/status.h"

namespace zdbs::remote {

namespace {

constexpr std::string_view unixScheme = "unix:";
constexpr std::string_view plainScheme = "http://";
constexpr std::string_view tlsScheme = "https://";

[[noreturn]] void fail(std::string_view location) {
    throw Failure(Status::badSetting, {"ZDBS_HOME", location});
}

bool isNumber(std::string_view text) {
    return !text.empty() && text.size() <= 5 &&
           text.find_first_not_of("0123456789") == std::string_view::npos;
}

/** What may stand in the head of a request: nothing that ends a line or a word. */
bool isClean(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char character) { return character > ' ' && character < '\x7f'; });
}

/** "[::1]:80", "host:80", "host" */
void readHost(std::string_view text, ServerAddress &address) {
    const bool isBracketed = text.starts_with('[');
    const std::size_t end = isBracketed ? text.find(']') : text.find(':');
    address.host = text.substr(isBracketed ? 1 : 0, end - (isBracketed ? 1 : 0));
    if (end == std::string_view::npos) {
        if (isBracketed) fail(address.name);
    } else if (text.remove_prefix(end + (isBracketed ? 1 : 0)); !text.empty()) {
        if (text.front() != ':' || !isNumber(text.substr(1))) fail(address.name);
        address.port = text.substr(1);
    }
    if (address.host.empty()) fail(address.name);
}

}  // namespace

std::string ServerAddress::authority() const {
    if (kind == Kind::unixSocket) return "localhost";
    const bool isLong = host.find(':') != std::string::npos;
    return (isLong ? '[' + host + ']' : host) + ':' + port;
}

ServerAddress parseServerAddress(std::string_view location) {
    ServerAddress address;
    address.name = location;
    if (location.starts_with(unixScheme)) {
        address.host = location.substr(unixScheme.size());
        if (address.host.empty()) fail(location);
        return address;
    }
    const bool isTls = location.starts_with(tlsScheme);
    address.kind = isTls ? ServerAddress::Kind::tls : ServerAddress::Kind::plain;
    address.port = isTls ? "443" : "80";
    std::string_view rest = location.substr((isTls ? tlsScheme : plainScheme).size());
    if (!isClean(rest)) fail(location);
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    address.folder = rest.substr(slash);
    while (address.folder.ends_with('/'))
        address.folder.pop_back();
    rest = rest.substr(0, slash);
    if (const std::size_t sign = rest.rfind('@'); sign != std::string_view::npos) {
        address.user = rest.substr(0, sign);
        if (address.user.find(':') != std::string::npos)
            throw Failure(Status::badSetting, {"ZDBS_HOME", "no password has a place in it"});
        rest.remove_prefix(sign + 1);
    }
    readHost(rest, address);
    return address;
}

}  // namespace zdbs::remote
