/** Messages to a server and back. */
#ifndef ZDBS_REMOTE_CHANNEL_H
#define ZDBS_REMOTE_CHANNEL_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zdbs/export/document_sink.h"
#include "zdbs/remote/message.h"
#include "zdbs/remote/stream.h"

namespace zdbs::remote {

/** A failure in the words of a server. */
class ToldFailure : public Failure {
public:
    ToldFailure(Status status, std::string_view sentence);

    const char *what() const noexcept override { return sentence_.c_str(); }

private:
    std::string sentence_;
};

/** Throws what a message of Kind::failed tells behind its state; Malformed where it is none. */
[[noreturn]] void throwTold(MessageReader &reader);

/**
 * A connection on which a user has logged in. One thread at a time.
 *
 * Once it is lost, whether by the network or because the server says farewell or sends what is no
 * message, every call throws Failure(serverLost) with the reason.
 */
class Channel {
public:
    /** What it is for. Commands go as requests, and so do calls through TLS. */
    enum class Use : std::uint8_t { calls, commands };

    /**
     * Throws Failure: loginFailed; serverUnreachable, serverUntrusted; serverRefused, with what the
     * server says.
     */
    Channel(const ServerAddress &address, std::string_view user, std::string_view password,
            Use use = Use::calls);

    /** Of a stream on which somebody has logged in. */
    explicit Channel(std::unique_ptr<Stream> stream) : stream_(std::move(stream)) {}

    struct Received {
        Kind kind = Kind::stop;
        std::string_view content;     ///< until the next one is received; not of a document
        SessionState state = {};      ///< of a document
        DocumentBlock document = {};  ///< shorter than maxExportLength
    };

    /** What the server has said farewell with is found by receive(), not here. */
    void send(std::string_view message);

    /**
     * Waits for the next message. When `heedsStop` and the stop of this thread is requested
     * meanwhile, or a SIGINT waits that it holds back, the server is told, once after each
     * send(); then something has to come within a while.
     */
    Received receive(bool heedsStop);

    /** Behind the last message of an answer after which the server waits for something. */
    void endAnswer();

    /** Throws where it is lost. */
    void requireOpen() const;

    /** Loses it: what it received is not what the protocol says. */
    [[noreturn]] void endMalformed() { lose("what came is no message"); }

    /** Waits in the same way. False where `other` can be read, and receive() would wait. */
    bool awaitMessage(int other);

private:
    [[noreturn]] void lose(const Failure &why);
    [[noreturn]] void lose(std::string_view why);
    void upgrade(const ServerAddress &address, const std::string &request);
    std::string_view readHead();
    void require(std::size_t size);
    void fill();
    bool await(int other, bool heedsStop);
    void heedOrTell();
    std::string_view buffered() const { return std::string_view(buffer_).substr(begin_); }
    std::string_view take(std::size_t size);
    Received readDocument(std::size_t length);

    std::unique_ptr<Stream> stream_;
    FileDescriptor interrupt_;  ///< can be read while a SIGINT waits
    std::string buffer_;        ///< received and, from begin_ on, not taken
    std::size_t begin_ = 0;
    bool heedsStop_ = false;  ///< while something is received
    bool isStopSent_ = false;
    std::optional<ToldFailure> lost_;
};

}  // namespace zdbs::remote

#endif
