#include "zdbs/base/sink.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace zdbs {
namespace {

std::vector<std::string> chunksOf(const std::vector<std::string> &pieces, std::size_t chunkSize) {
    std::vector<std::string> chunks;
    ChunkSink sink([&](std::string_view chunk) { chunks.emplace_back(chunk); }, chunkSize);
    for (const std::string &piece : pieces)
        sink.write(piece);
    sink.flush();
    return chunks;
}

TEST(ChunkSink, GathersSmallPiecesUpToTheChunkSize) {
    EXPECT_EQ(chunksOf({"ab", "cd", "ef"}, 4), (std::vector<std::string>{"abcd", "ef"}));
}

TEST(ChunkSink, HandsALargePieceOnWithoutCopyingItAndInOrder) {
    EXPECT_EQ(chunksOf({"ab", "0123456789", "cd"}, 4),
              (std::vector<std::string>{"ab", "0123456789", "cd"}));
}

TEST(ChunkSink, WithoutTextTheConsumerIsNotCalled) {
    EXPECT_TRUE(chunksOf({}, 4).empty());
    EXPECT_TRUE(chunksOf({"", ""}, 4).empty());
}

TEST(ChunkSink, AFlushTwiceHandsOnOnce) {
    int calls = 0;
    ChunkSink sink([&](std::string_view) { ++calls; });
    sink.write("text");
    sink.flush();
    sink.flush();
    EXPECT_EQ(calls, 1);
}

TEST(ChunkSink, WhatTheConsumerThrowsReachesTheWriter) {
    ChunkSink sink([](std::string_view) { throw std::runtime_error("disk full"); }, 4);
    EXPECT_THROW(sink.write("0123456789"), std::runtime_error);
}

TEST(StringSink, AppendsToWhatIsThere) {
    std::string text = "a";
    StringSink sink(text);
    sink.write("b");
    sink.write("c");
    EXPECT_EQ(text, "abc");
}

}  // namespace
}  // namespace zdbs
