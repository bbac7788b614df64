/**
 * The messages between a kernel library and a server that runs the kernel's calls for it.
 *
 * A message is four bytes of length, the lowest first, which count what follows them; a byte that
 * says what it is; and its content: numbers of four bytes, and texts of a number of bytes and
 * those. The client sends one call and reads messages until the one that answers it. While it
 * waits it may send Stop, which nothing answers. The server may say farewell() at any time.
 *
 * Where the connection has not gone over to messages, each one of the client is the body of a
 * request, and the body of its answer is the messages that answer it.
 */
#ifndef ZDBS_REMOTE_MESSAGE_H
#define ZDBS_REMOTE_MESSAGE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/session/session.h"

namespace zdbs::remote {

/** What a client asks for in the field Upgrade, and the place that it asks at. */
inline constexpr std::string_view protocol = "zdbs-kernel/1";
inline constexpr std::string_view kernelPlace = "/v1/kernel";

/** Numbers are part of the protocol. */
enum class Kind : std::uint8_t {
    // Of the client.
    execute = 1,      ///< text: the command
    saveStatus = 2,   ///<
    loadStatus = 3,   ///<
    hasDatabase = 4,  ///< text: its name
    record = 5,       ///< numbers: set, ordinal
    exportText = 6,   ///< numbers: filter, highlight; text: arguments
    stop = 7,         ///<
    command = 8,      ///< texts: the words of a command of the program zdbs; as a request only
    input = 9,        ///< text: of its standard input, 64 kilobytes at most; empty: the end

    // Of the server, which begins with done, or with a farewell.
    done = 64,      ///< state, and what the call answers
    failed = 65,    ///< state, number: the status, text: the sentence
    farewell = 66,  ///< number: the status, text: the sentence; nothing comes after it
    document = 67,  ///< state, and the rest is the document
    output = 68,    ///< text: of the command's standard output
    errors = 69,    ///< text: of its standard error
    wanted = 70,    ///< it waits for a piece of its standard input; ends the answer
    ended = 71,     ///< number: its exit status; the answer to the command
};

/** Bytes of a message behind its length. A document alone may be longer. */
inline constexpr std::uint32_t longestCall = 16U << 20U;
inline constexpr std::size_t headSize = 5;

/** The length and the kind that a message begins with. */
struct Head {
    std::uint32_t length = 0;  ///< of the content
    Kind kind = Kind::stop;
};

/** Nothing for a length of 0. REQUIRES: headSize bytes. */
std::optional<Head> headOf(std::string_view bytes);

/** Writes a message; its length is filled in by text(). */
class MessageWriter {
public:
    explicit MessageWriter(Kind kind) : bytes_(headSize, '\0') {
        bytes_[4] = static_cast<char>(kind);
    }

    MessageWriter &number(std::int32_t value);
    MessageWriter &text(std::string_view value);

    /** @param more bytes that are sent behind it and belong to it */
    const std::string &bytes(std::size_t more = 0);

private:
    std::string bytes_;
};

/** Reads the content of one. Every call throws Malformed when it is not there. */
class MessageReader {
public:
    /** It is not what the protocol says. */
    class Malformed : public std::runtime_error {
    public:
        Malformed() : std::runtime_error("a message is not well formed") {}
    };

    explicit MessageReader(std::string_view content) : rest_(content) {}

    std::int32_t number();

    /** Lives as long as the content. */
    std::string_view text();
    std::string_view rest() { return std::exchange(rest_, {}); }
    bool isAtEnd() const { return rest_.empty(); }

    /** Throws Malformed when there is more. */
    void end() const;

private:
    std::string_view take(std::size_t size);

    std::string_view rest_;
};

/** What the calls that answer from what the last one told need: so they need no message. */
struct SessionState {
    std::optional<LastSearch> search;
};

void write(MessageWriter &writer, const SessionState &state);
SessionState readState(MessageReader &reader);

/** A record of a set, with the name of its database. */
struct PlacedRecord {
    SetRecord found;
    std::string database;
};

void write(MessageWriter &writer, const PlacedRecord &record);

/** Takes no more memory than the content's. */
PlacedRecord readRecord(MessageReader &reader);

/** A message that says that something failed, or that the session ends. */
std::string failureText(const SessionState &state, Status status, std::string_view sentence);
std::string farewellText(const Failure &failure);

}  // namespace zdbs::remote

#endif
