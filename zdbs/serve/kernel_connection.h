/** Messages of one session's connection, on the server's side. */
#ifndef ZDBS_SERVE_KERNEL_CONNECTION_H
#define ZDBS_SERVE_KERNEL_CONNECTION_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "zdbs/remote/message.h"

namespace zdbs::serve {

/** One thread; what heeds stops may look at it meanwhile, in the same thread. */
class KernelConnection {
public:
    enum class End : std::uint8_t { none, closed, idle, malformed };

    struct Times {
        std::chrono::seconds idle;   ///< between calls
        std::chrono::seconds stall;  ///< within one, and for a client to take something
    };

    /** Of a socket that is not to be closed. */
    KernelConnection(int socket, Times times);

    struct Call {
        remote::Kind kind = remote::Kind::stop;
        std::string_view content;  ///< until the next one
    };

    /** Waits for the next message; nothing at the end, of which end() tells the kind. */
    std::optional<Call> receive();
    End end() const { return end_; }

    /** False where the client takes nothing. */
    bool send(std::string_view bytes, std::string_view more = {});

    /** receive() comes to its end, at once; another thread may ask for it. */
    void closeReceiving();

    /** What stands in front of the next call, without waiting. */
    enum class Ahead : std::uint8_t { nothing, stop, end };
    Ahead look() const;

private:
    bool require(std::size_t size);
    void limit(std::chrono::seconds time);

    int socket_;
    Times times_;
    std::string buffer_;
    std::size_t begin_ = 0;
    std::atomic<bool> isClosed_ = false;  ///< by closeReceiving()
    End end_ = End::none;
};

}  // namespace zdbs::serve

#endif
