#include "zdbs/export/document_sink.h"

#include <gtest/gtest.h>

#include <string>

#include "zdbs/base/status.h"

namespace zdbs {
namespace {

TEST(DocumentSink, GathersWhatIsWrittenWithANulBehindIt) {
    DocumentSink sink(1000);
    for (const char *piece : {"one ", "", "two ", "three"})
        sink.write(piece);
    const DocumentBlock block = sink.take();
    EXPECT_EQ(block.view(), "one two three");
    EXPECT_EQ(block.text.get()[block.length], '\0');
}

TEST(DocumentSink, WithoutAWriteIsEmpty) {
    const DocumentBlock block = DocumentSink(10).take();
    EXPECT_EQ(block.length, 0U);
    EXPECT_EQ(*block.text, '\0');
}

TEST(DocumentSink, IsEmptyAgainWhenItWasTaken) {
    DocumentSink sink(1000);
    sink.write("one");
    sink.take();
    sink.write("two");
    EXPECT_EQ(sink.take().view(), "two");
}

TEST(DocumentSink, GrowsToLargeDocuments) {
    DocumentSink sink(std::size_t{1} << 30U);
    std::string expected;
    for (int i = 0; expected.size() < 10000000; ++i) {
        const std::string piece(static_cast<std::size_t>(i % 3000),
                                static_cast<char>('a' + i % 26));
        sink.write(piece);
        expected += piece;
    }
    EXPECT_EQ(sink.take().view(), expected);
}

TEST(DocumentSink, StaysShorterThanTheLimit) {
    for (const std::size_t pieces : {1U, 3U, 17U}) {
        for (const std::size_t size : {1U, 5U, 4096U, 5000U}) {
            const std::string piece(size, 'x');
            const auto fill = [&](std::size_t limit) {
                DocumentSink sink(limit);
                for (std::size_t i = 0; i < pieces; ++i)
                    sink.write(piece);
                return sink.take().length;
            };
            EXPECT_EQ(fill(pieces * size + 1), pieces * size);
            EXPECT_THROW(fill(pieces * size), Failure);
        }
    }
}

}  // namespace
}  // namespace zdbs
