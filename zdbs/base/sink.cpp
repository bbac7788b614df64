#include "zdbs/base/sink.h"

#include <algorithm>
#include <utility>

namespace zdbs {

ChunkSink::ChunkSink(Consumer consumer, std::size_t chunkSize)
    : consumer_(std::move(consumer)), buffer_(chunkSize, '\0') {
    offer(buffer_.data(), buffer_.data() + buffer_.size());
}

void ChunkSink::overflow(std::string_view piece) {
    if (piece.size() > room()) flush();
    if (piece.size() >= buffer_.size()) return consumer_(piece);
    offer(std::copy(piece.begin(), piece.end(), next()), buffer_.data() + buffer_.size());
}

void ChunkSink::flush() {
    const std::string_view chunk(buffer_.data(), pending());
    if (chunk.empty()) return;
    consumer_(chunk);
    offer(buffer_.data(), buffer_.data() + buffer_.size());
}

}  // namespace zdbs
