/** Text on its way into a file. */
#ifndef BENCH_GENERATE_DOCUMENT_OUTPUT_H
#define BENCH_GENERATE_DOCUMENT_OUTPUT_H

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace bench {

/** Appends to a file, or to standard output for an empty path. Throws std::runtime_error. */
class DocumentOutput {
public:
    explicit DocumentOutput(const std::string &path)
        : path_(path), file_(path.empty() ? nullptr : std::fopen(path.c_str(), "wb")) {
        if (!path.empty() && !file_) throw std::runtime_error("cannot write " + path);
        buffer_.reserve(2 * bufferSize);
    }

    DocumentOutput &operator<<(std::string_view text) {
        buffer_ += text;
        if (buffer_.size() >= bufferSize) flush();
        return *this;
    }

    DocumentOutput &operator<<(std::uint64_t number) {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
    }

    /** Every output ends with this. */
    void finish() {
        flush();
        if (std::fflush(stream()) != 0) fail();
    }

    std::uint64_t written() const { return written_ + buffer_.size(); }

private:
    static constexpr std::size_t bufferSize = 256 * 1024;

    struct Closer {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };

    std::FILE *stream() const { return file_ ? file_.get() : stdout; }

    void flush() {
        if (std::fwrite(buffer_.data(), 1, buffer_.size(), stream()) != buffer_.size()) fail();
        written_ += buffer_.size();
        buffer_.clear();
    }

    [[noreturn]] void fail() const {
        throw std::runtime_error("cannot write " + (path_.empty() ? "the output" : path_));
    }

    std::string path_;
    std::unique_ptr<std::FILE, Closer> file_;
    std::string buffer_;
    std::uint64_t written_ = 0;
};

}  // namespace bench

#endif
