/** Where written XML goes: into a string, or in chunks to a function. */
#ifndef ZDBS_XML_SINK_H
#define ZDBS_XML_SINK_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace zdbs {

/** Receives UTF-8 text piece by piece, in order. What `write` throws ends the writing. */
class XmlSink {
public:
    virtual ~XmlSink() = default;
    virtual void write(std::string_view piece) = 0;
};

/** Appends to a string of the caller, which must outlive the sink. */
class StringSink final : public XmlSink {
public:
    explicit StringSink(std::string &target) : target_(target) {}
    void write(std::string_view piece) override { target_.append(piece); }

private:
    std::string &target_;
};

/**
 * Hands the text to a function in chunks of about `chunkSize` bytes, so that a
 * document of any size passes through a fixed amount of memory.
 */
class ChunkSink final : public XmlSink {
public:
    using Consumer = std::function<void(std::string_view)>;

    explicit ChunkSink(Consumer consumer, std::size_t chunkSize = 64 * 1024);

    void write(std::string_view piece) override;

    /** Hands on what is left. The destructor does not: a consumer may throw. */
    void flush();

private:
    Consumer consumer_;
    std::size_t chunkSize_;
    std::string pending_;
};

}  // namespace zdbs

#endif
