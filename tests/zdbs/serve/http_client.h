/** An HTTP client that says what it is told to, byte for byte, and reads what comes back. */
#ifndef TESTS_ZDBS_SERVE_HTTP_CLIENT_H
#define TESTS_ZDBS_SERVE_HTTP_CLIENT_H

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "zdbs/base/private_files.h"

namespace zdbs::serve {

struct Response {
    unsigned status = 0;
    std::map<std::string, std::string> fields;  ///< by name in small letters
    std::string body;
    bool isWhole = false;  ///< its end came as its head said
};

/** One connection. Waits are given up after support::patience; then status is 0. */
class HttpClient {
public:
    /** "127.0.0.1:8080" or "unix:PATH" */
    explicit HttpClient(const std::string &address);

    bool isOpen() const { return static_cast<bool>(socket_); }

    /** False when the other side takes no more. */
    bool send(std::string_view bytes);

    /** @param isHead the answer has no body, whatever its head says */
    Response receive(bool isHead = false);

    /** Sends and receives. */
    Response ask(std::string_view bytes) {
        send(bytes);
        return receive();
    }

    /** Whether there is something to read, or the end, within support::patience. */
    bool awaitInput() const;

    /** Reads all up to the end; nothing where it does not come. */
    std::optional<std::string> readToEnd();

    void closeSending();
    void close() { socket_ = FileDescriptor(); }
    int socket() const { return socket_.get(); }

private:
    bool readMore();
    bool readUntil(std::string_view mark);
    bool readBytes(std::size_t count);
    bool readChunks(std::string &body);

    FileDescriptor socket_;
    std::string buffer_;
};

/** A request as text. @param more header lines, each with its end */
std::string requestText(std::string_view method, std::string_view target,
                        std::string_view more = {}, std::string_view body = {});

/** A header line for Basic authentication. */
std::string loginLine(std::string_view user, std::string_view password);

}  // namespace zdbs::serve

#endif
