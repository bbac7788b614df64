#include "zdbs/xml/sink.h"

#include <utility>

namespace zdbs {

ChunkSink::ChunkSink(Consumer consumer, std::size_t chunkSize)
    : consumer_(std::move(consumer)), chunkSize_(chunkSize) {
    pending_.reserve(chunkSize_);
}

void ChunkSink::write(std::string_view piece) {
    if (pending_.size() + piece.size() > chunkSize_) flush();
    if (piece.size() >= chunkSize_) {
        consumer_(piece);
    } else {
        pending_.append(piece);
    }
}

void ChunkSink::flush() {
    if (pending_.empty()) return;
    consumer_(pending_);
    pending_.clear();
}

}  // namespace zdbs
