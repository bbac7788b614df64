#include <array>
#include <charconv>
#include <string>

#include "foundation/keyword.h"
#include "zdbs/base/status.h"
#include "zdbs/remote/stream.h"

namespace zdbs::remote {

namespace {

constexpr std::size_t longestAnswerHead = std::size_t{16} * 1024;
constexpr std::string_view lineEnd = "\r\n";

/** The value of a field; empty where it is not there. */
std::string_view fieldIn(std::string_view head, std::string_view name) {
    while (!head.empty()) {
        const std::size_t end = std::min(head.find(lineEnd), head.size());
        const std::string_view line = head.substr(0, end);
        head.remove_prefix(std::min(end + lineEnd.size(), head.size()));
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || !equalsNoCase(line.substr(0, colon), name)) continue;
        const std::size_t begin = std::min(line.find_first_not_of(" \t", colon + 1), line.size());
        return line.substr(begin);
    }
    return {};
}

/** The answer to a stop is empty: nothing of it is received. */
class RequestStream final : public Stream {
public:
    RequestStream(std::unique_ptr<Stream> stream, const ServerAddress &address, std::string head)
        : stream_(std::move(stream)), address_(address), head_(std::move(head)) {}

    bool send(std::string_view bytes) override {
        return stream_->send(head_ + "Content-Type: application/x-zdbs-kernel\r\nContent-Length: " +
                             std::to_string(bytes.size()) + "\r\n\r\n" + std::string(bytes));
    }

    std::size_t receive(std::span<char> room) override {
        while (isError_ || left_ == 0) {
            if (!nextPiece()) return 0;
        }
        if (buffer_.empty() && !fill()) return 0;
        const std::size_t size = std::min<std::size_t>({room.size(), left_, buffer_.size()});
        buffer_.copy(room.data(), size);
        drop(size);
        return size;
    }

    bool endAnswer() override {
        while (isChunked_ && left_ == 0) {
            if (!nextChunk()) return false;
        }
        return left_ == 0;
    }

    bool holdsBytes() const override { return !buffer_.empty() || stream_->holdsBytes(); }
    int socket() const override { return stream_->socket(); }

private:
    bool fill() {
        std::array<char, std::size_t{32} * 1024> piece{};
        const std::size_t got = stream_->receive(piece);
        buffer_.append(piece.data(), got);
        return got > 0;
    }

    void drop(std::size_t size) {
        buffer_.erase(0, size);
        left_ -= size;
    }

    /** Up to an end that is not told; nothing where it does not come. */
    bool take(std::string_view end, std::string &text) {
        std::size_t place = 0;
        while ((place = buffer_.find(end)) == std::string::npos) {
            if (buffer_.size() > longestAnswerHead || !fill()) return false;
        }
        text = buffer_.substr(0, place);
        buffer_.erase(0, place + end.size());
        return true;
    }

    /** The next bytes of a body, or the head of the next answer. */
    bool nextPiece() {
        if (left_ > 0) {  // of an error, which is told by its status
            if (buffer_.empty() && !fill()) return false;
            drop(std::min<std::uint64_t>(left_, buffer_.size()));
            return true;
        }
        return isChunked_ ? nextChunk() : nextHead();
    }

    bool nextHead() {
        std::string head;
        isError_ = false;
        if (!take("\r\n\r\n", head)) return false;
        const unsigned status = statusIn(head);
        isChunked_ = equalsNoCase(fieldIn(head, "Transfer-Encoding"), "chunked");
        const std::string_view length = fieldIn(head, "Content-Length");
        const auto read = std::from_chars(length.data(), length.data() + length.size(), left_);
        if (isChunked_) left_ = 0;
        if (status == 0 || (!isChunked_ && read.ec != std::errc())) return false;
        if (status == 200) return true;
        isError_ = true;
        refuseSession(address_, status);
    }

    /** RFC 9112, 7.1: without extensions and trailers, as the server sends them. */
    bool nextChunk() {
        std::string line;
        if (isWithinChunks_ && (!take(lineEnd, line) || !line.empty())) return false;
        if (!take(lineEnd, line)) return false;
        const auto read = std::from_chars(line.data(), line.data() + line.size(), left_, 16);
        if (read.ec != std::errc()) return false;
        isWithinChunks_ = left_ > 0;
        if (left_ > 0) return true;
        isChunked_ = false;
        return take(lineEnd, line) && line.empty();
    }

    std::unique_ptr<Stream> stream_;
    ServerAddress address_;
    std::string head_;
    std::string buffer_;
    std::uint64_t left_ = 0;  ///< of the body, or of its chunk
    bool isChunked_ = false;
    bool isWithinChunks_ = false;
    bool isError_ = false;  ///< the body is no message
};

}  // namespace

/** The first answer is of an empty request: that there is a session. */
std::unique_ptr<Stream> requestStream(std::unique_ptr<Stream> stream, const ServerAddress &address,
                                      std::string head) {
    auto requests = std::make_unique<RequestStream>(std::move(stream), address, std::move(head));
    requests->send({});
    return requests;
}

}  // namespace zdbs::remote
