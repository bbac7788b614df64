/** Where written XML goes: into a string, or in chunks to a function. */
#ifndef ZDBS_BASE_SINK_H
#define ZDBS_BASE_SINK_H

#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>

namespace zdbs {

/**
 * Receives UTF-8 text piece by piece, in order. Pieces are copied into the room that a kind
 * of sink offers; it takes what does not fit, and no piece is ever cut. What `write` throws
 * ends the writing.
 */
class XmlSink {
public:
    virtual ~XmlSink() = default;
    XmlSink(const XmlSink &) = delete;
    XmlSink &operator=(const XmlSink &) = delete;

    void write(std::string_view piece) {
        if (piece.size() >= room()) return overflow(piece);
        std::memcpy(next_, piece.data(), piece.size());
        next_ += piece.size();
    }

protected:
    XmlSink() = default;

    /** Takes a piece that fills the room or does not fit. */
    virtual void overflow(std::string_view piece) = 0;

    /** From now on the room is from `begin` to `end`; null for none. */
    void offer(char *begin, char *end) {
        next_ = begin;
        end_ = end;
    }

    char *next() const { return next_; }
    std::size_t room() const { return static_cast<std::size_t>(end_ - next_); }

private:
    char *next_ = nullptr;
    char *end_ = nullptr;
};

/** Appends to a string of the caller, which must outlive the sink. */
class StringSink final : public XmlSink {
public:
    explicit StringSink(std::string &target) : target_(target) {}

private:
    void overflow(std::string_view piece) override { target_.append(piece); }

    std::string &target_;
};

/**
 * Hands the text to a function in chunks of about `chunkSize` bytes, so that a
 * document of any size passes through a fixed amount of memory.
 */
class ChunkSink final : public XmlSink {
public:
    using Consumer = std::function<void(std::string_view)>;

    explicit ChunkSink(Consumer consumer, std::size_t chunkSize = std::size_t{64} * 1024);

    /** Hands on what is left. The destructor does not: a consumer may throw. */
    void flush();

private:
    void overflow(std::string_view piece) override;
    std::size_t pending() const { return static_cast<std::size_t>(next() - buffer_.data()); }

    Consumer consumer_;
    std::string buffer_;
};

}  // namespace zdbs

#endif
