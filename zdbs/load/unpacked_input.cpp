#include "zdbs/load/unpacked_input.h"

#include <zlib.h>
#include <zstd.h>

#include <algorithm>
#include <limits>
#include <new>
#include <span>
#include <utility>
#include <vector>

#include "zdbs/base/status.h"

namespace zdbs {

namespace {

constexpr std::size_t packedBufferSize = std::size_t{128} * 1024;
constexpr const char *endsTooEarly = "it ends too early";

/** What both kinds share: packed bytes come in pieces and are used up bit by bit. */
class UnpackedInput : public Input {
public:
    UnpackedInput(std::unique_ptr<Input> packed, std::string name)
        : packed_(std::move(packed)), name_(std::move(name)), buffer_(packedBufferSize) {}

    std::uint64_t consumed() const override { return packed_->consumed(); }

protected:
    /** The packed bytes at hand, more of them when there are none; empty at the end. */
    std::span<char> available() {
        if (begin_ == end_) {
            begin_ = 0;
            end_ = packed_->read(buffer_);
        }
        return std::span(buffer_).subspan(begin_, end_ - begin_);
    }
    void use(std::size_t size) { begin_ += size; }

    [[noreturn]] void fail(const std::string &reason) const {
        throw Failure(Status::compressedDamaged, {name_, reason});
    }

private:
    std::unique_ptr<Input> packed_;
    std::string name_;
    std::vector<char> buffer_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
};

class GzipInput final : public UnpackedInput {
public:
    GzipInput(std::unique_ptr<Input> packed, std::string name)
        : UnpackedInput(std::move(packed), std::move(name)) {
        constexpr int gzipFormat = 16 + MAX_WBITS;
        if (::inflateInit2(&stream_, gzipFormat) != Z_OK) throw std::bad_alloc();
    }
    ~GzipInput() override { ::inflateEnd(&stream_); }

    std::size_t read(std::span<char> buffer) override {
        std::size_t size = 0;
        while (size == 0) {
            const std::span<char> packed = available();
            if (!inMember_ && skipPadding(packed)) continue;
            if (packed.empty() && !inMember_) return 0;
            size = inflateSome(packed, buffer);
            // Nothing in and nothing out, and yet the member is not at its end.
            if (packed.empty() && size == 0 && inMember_) fail(endsTooEarly);
        }
        return size;
    }

private:
    // Zeros behind a member, as tapes and disks in blocks leave them.
    bool skipPadding(std::span<const char> packed) {
        const auto end = std::find_if(packed.begin(), packed.end(), [](char byte) { return byte; });
        use(static_cast<std::size_t>(end - packed.begin()));
        return end != packed.begin();
    }

    std::size_t inflateSome(std::span<char> packed, std::span<char> buffer) {
        constexpr std::size_t most = std::numeric_limits<uInt>::max();
        stream_.next_in = reinterpret_cast<Bytef *>(packed.data());
        stream_.avail_in = static_cast<uInt>(packed.size());
        stream_.next_out = reinterpret_cast<Bytef *>(buffer.data());
        stream_.avail_out = static_cast<uInt>(std::min(buffer.size(), most));
        const std::size_t room = stream_.avail_out;
        const int result = ::inflate(&stream_, Z_NO_FLUSH);
        if (result == Z_MEM_ERROR) throw std::bad_alloc();
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR)
            fail(stream_.msg ? stream_.msg : "it is no gzip");
        use(packed.size() - stream_.avail_in);
        inMember_ = result != Z_STREAM_END;
        if (!inMember_) ::inflateReset(&stream_);  // another member may follow
        return room - stream_.avail_out;
    }

    z_stream stream_{};
    bool inMember_ = true;
};

class ZstdInput final : public UnpackedInput {
public:
    ZstdInput(std::unique_ptr<Input> packed, std::string name)
        : UnpackedInput(std::move(packed), std::move(name)), stream_(::ZSTD_createDStream()) {
        if (!stream_) throw std::bad_alloc();
    }
    ~ZstdInput() override { ::ZSTD_freeDStream(stream_); }

    std::size_t read(std::span<char> buffer) override {
        ZSTD_outBuffer out{buffer.data(), buffer.size(), 0};
        while (out.pos == 0) {
            const std::span<char> packed = available();
            if (packed.empty() && !inFrame_) return 0;
            ZSTD_inBuffer in{packed.data(), packed.size(), 0};
            const std::size_t result = ::ZSTD_decompressStream(stream_, &out, &in);
            if (::ZSTD_isError(result)) fail(::ZSTD_getErrorName(result));
            // Nothing in and nothing out, and yet the frame is not at its end.
            if (packed.empty() && out.pos == 0) fail(endsTooEarly);
            use(in.pos);
            inFrame_ = result != 0;
        }
        return out.pos;
    }

private:
    ZSTD_DStream *stream_;
    bool inFrame_ = true;
};

}  // namespace

std::unique_ptr<Input> unpackGzip(std::unique_ptr<Input> packed, std::string name) {
    return std::make_unique<GzipInput>(std::move(packed), std::move(name));
}

std::unique_ptr<Input> unpackZstd(std::unique_ptr<Input> packed, std::string name) {
    return std::make_unique<ZstdInput>(std::move(packed), std::move(name));
}

}  // namespace zdbs
