#include "tests/zdbs/serve/http_client.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "tests/support/child_process.h"

namespace zdbs::serve {
namespace {

std::string smallLetters(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

FileDescriptor connectUnix(const std::string &path) {
    FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), std::min(path.size(), sizeof address.sun_path - 1));
    if (::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return {};
    return socket;
}

FileDescriptor connectInternet(const std::string &address) {
    const std::size_t colon = address.rfind(':');
    FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port =
        htons(static_cast<std::uint16_t>(std::strtoul(address.c_str() + colon + 1, nullptr, 10)));
    ::inet_pton(AF_INET, address.substr(0, colon).c_str(), &place.sin_addr);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr *>(&place), sizeof place) != 0)
        return {};
    return socket;
}

std::string base64(std::string_view text) {
    constexpr std::string_view letters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    for (std::size_t i = 0; i < text.size(); i += 3) {
        unsigned bits = 0;
        for (std::size_t j = 0; j < 3; ++j)
            bits =
                (bits << 8U) | (i + j < text.size() ? static_cast<unsigned char>(text[i + j]) : 0U);
        for (unsigned j = 0; j < 4; ++j)
            result += i + j > text.size() ? '=' : letters[(bits >> (18 - 6 * j)) & 63U];
    }
    return result;
}

}  // namespace

HttpClient::HttpClient(const std::string &address)
    : socket_(address.starts_with("unix:") ? connectUnix(address.substr(5))
                                           : connectInternet(address)) {}

bool HttpClient::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool HttpClient::awaitInput() const {
    pollfd wait = {socket_.get(), POLLIN, 0};
    return ::poll(&wait, 1, static_cast<int>(support::patience.count()) * 1000) > 0;
}

bool HttpClient::readMore() {
    std::array<char, 65536> piece{};
    if (!awaitInput()) return false;
    const ssize_t count = ::recv(socket_.get(), piece.data(), piece.size(), 0);
    if (count <= 0) return false;
    buffer_.append(piece.data(), static_cast<std::size_t>(count));
    return true;
}

bool HttpClient::readUntil(std::string_view mark) {
    while (buffer_.find(mark) == std::string::npos) {
        if (!readMore()) return false;
    }
    return true;
}

bool HttpClient::readBytes(std::size_t count) {
    while (buffer_.size() < count) {
        if (!readMore()) return false;
    }
    return true;
}

bool HttpClient::readChunks(std::string &body) {
    for (;;) {
        if (!readUntil("\r\n")) return false;
        const std::size_t size = std::strtoul(buffer_.c_str(), nullptr, 16);
        buffer_.erase(0, buffer_.find("\r\n") + 2);
        if (!readBytes(size + 2)) return false;
        body += buffer_.substr(0, size);
        buffer_.erase(0, size + 2);
        if (size == 0) return true;
    }
}

Response HttpClient::receive(bool isHead) {
    Response response;
    if (!readUntil("\r\n\r\n")) return response;
    const std::size_t end = buffer_.find("\r\n\r\n");
    std::string head = buffer_.substr(0, end + 2);
    buffer_.erase(0, end + 4);
    const std::size_t lineEnd = head.find("\r\n");
    response.status = static_cast<unsigned>(std::strtoul(head.c_str() + 9, nullptr, 10));
    head.erase(0, lineEnd + 2);
    while (!head.empty()) {
        const std::size_t next = head.find("\r\n");
        const std::size_t colon = head.find(": ");
        response.fields[smallLetters(head.substr(0, colon))] =
            head.substr(colon + 2, next - colon - 2);
        head.erase(0, next + 2);
    }
    if (response.status == 100) return receive(isHead);
    if (isHead || response.status == 304) {
        response.isWhole = true;
    } else if (response.fields.contains("transfer-encoding")) {
        response.isWhole = readChunks(response.body);
    } else {
        const std::size_t size =
            std::strtoul(response.fields["content-length"].c_str(), nullptr, 10);
        response.isWhole = readBytes(size);
        response.body = buffer_.substr(0, size);
        buffer_.erase(0, std::min(size, buffer_.size()));
    }
    return response;
}

std::optional<std::string> HttpClient::readToEnd() {
    while (awaitInput()) {
        if (readMore()) continue;
        return std::move(buffer_);
    }
    return std::nullopt;
}

void HttpClient::closeSending() {
    ::shutdown(socket_.get(), SHUT_WR);
}

std::string requestText(std::string_view method, std::string_view target, std::string_view more,
                        std::string_view body) {
    std::string text = std::string(method) + ' ' + std::string(target) +
                       " HTTP/1.1\r\nHost: localhost\r\n" + std::string(more);
    if (!body.empty()) text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    return text + "\r\n" + std::string(body);
}

std::string loginLine(std::string_view user, std::string_view password) {
    return "Authorization: Basic " + base64(std::string(user) + ':' + std::string(password)) +
           "\r\n";
}

}  // namespace zdbs::serve
