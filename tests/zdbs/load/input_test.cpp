#include "zdbs/load/input.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>
#include <zstd.h>

#include <random>
#include <string>

#include "tests/zdbs/embedded/store/test_home.h"

namespace zdbs {

using namespace embedded;
namespace {

using testing::HasSubstr;

std::string gzip(const std::string &text) {
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 16 + MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, text.size()) + 64, '\0');
    std::string source = text;
    stream.next_in = reinterpret_cast<Bytef *>(source.data());
    stream.avail_in = static_cast<uInt>(source.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

std::string zstd(const std::string &text) {
    std::string packed(ZSTD_compressBound(text.size()), '\0');
    packed.resize(ZSTD_compress(packed.data(), packed.size(), text.data(), text.size(), 3));
    return packed;
}

std::string readAll(Input &input, std::size_t piece = 1000) {
    std::string all;
    std::string buffer(piece, '\0');
    while (const std::size_t size = input.read(buffer))
        all.append(buffer, 0, size);
    return all;
}

class InputTest : public testing::Test {
protected:
    std::string fileContent(const std::string &bytes, std::size_t piece = 1000) {
        return readAll(*openFile(directory_.write("file", bytes)), piece);
    }

    support::TemporaryDirectory directory_;
};

std::string someText(std::size_t size) {
    std::mt19937 random(5);
    std::string text(size, ' ');
    for (char &byte : text)
        byte = static_cast<char>('a' + random() % 20);
    return text;
}

TEST_F(InputTest, OfPlainFilesIsWhatTheyHold) {
    for (const std::string &text : {std::string(), std::string("x"), std::string("abc"),
                                    std::string("abcd"), std::string("<a/>\n"), someText(300000)})
        for (const std::size_t piece : {1U, 3U, 4U, 5U, 100000U}) {
            if (text.size() / piece < 100000) {
                EXPECT_EQ(fileContent(text, piece), text) << piece;
            }
        }
}

TEST_F(InputTest, OfPackedFilesIsWhatWasPackedWhateverTheirNames) {
    for (const std::string &text : {std::string(), std::string("<a/>"), someText(1000000)})
        for (const std::size_t piece : {7U, 1000U, 1000000U, 5000000U}) {
            EXPECT_EQ(fileContent(gzip(text), piece), text) << piece;
            EXPECT_EQ(fileContent(zstd(text), piece), text) << piece;
        }
}

TEST_F(InputTest, OfSeveralPackedPartsIsAllOfThem) {
    const std::string text = someText(200000);
    EXPECT_EQ(fileContent(gzip(text) + gzip("") + gzip("end")), text + "end");
    EXPECT_EQ(fileContent(zstd(text) + zstd("") + zstd("end")), text + "end");
}

TEST_F(InputTest, OfZstdFilesPassesOverWhatIsToBeSkipped) {
    for (char mark = '\x50'; mark <= '\x5f'; ++mark) {
        const std::string skipped = mark + std::string("\x2a\x4d\x18\3\0\0\0abc", 10);
        EXPECT_EQ(fileContent(skipped + zstd("<a>") + skipped + zstd("</a>") + skipped), "<a></a>");
        EXPECT_EQ(fileContent(skipped), "");
    }
    EXPECT_EQ(fileContent("P*M\x17"), "P*M\x17");
    EXPECT_EQ(fileContent("O*M\x18"), "O*M\x18");
}

TEST_F(InputTest, OfGzipFilesEndsBeforeZerosThatFillABlock) {
    const std::string zeros(200000, '\0');
    for (const std::string &padding : {std::string(1, '\0'), zeros}) {
        EXPECT_EQ(fileContent(gzip("<a/>") + padding), "<a/>");
        EXPECT_EQ(fileContent(gzip("<a>") + padding + gzip("</a>")), "<a></a>");
        EXPECT_EQ(statusOf([&] { fileContent(gzip("<a/>") + padding + "x"); }),
                  Status::compressedDamaged);
    }
}

TEST_F(InputTest, OfHighlyPackedFilesComesInPiecesOfTheCaller) {
    const std::string text(50000000, 'x');
    EXPECT_EQ(fileContent(gzip(text), 100000), text);
    EXPECT_EQ(fileContent(zstd(text), 100000), text);
}

TEST_F(InputTest, OfDamagedPackedFilesIsAnErrorThatNamesTheFile) {
    const std::string text = someText(100000);
    for (const std::string &packed : {gzip(text), zstd(text)}) {
        const std::string cases[] = {packed.substr(0, packed.size() - 1),
                                     packed.substr(0, packed.size() / 2), packed.substr(0, 5),
                                     packed + "and then something else"};
        for (const std::string &bytes : cases) {
            std::string sentence;
            EXPECT_EQ(statusOf([&] { fileContent(bytes); }, &sentence), Status::compressedDamaged);
            EXPECT_THAT(sentence, HasSubstr(directory_ / "file"));
        }
    }
    std::string flipped = gzip(text);
    flipped[flipped.size() / 2] = static_cast<char>(~flipped[flipped.size() / 2]);
    EXPECT_EQ(statusOf([&] { fileContent(flipped); }), Status::compressedDamaged);
    EXPECT_EQ(statusOf([&] { fileContent(gzip(text).substr(0, 3)); }), Status::compressedDamaged);
}

TEST_F(InputTest, CountsTheBytesOfTheFile) {
    const std::string text = someText(1000000);
    const std::string packed = gzip(text);
    const auto input = openFile(directory_.write("file", packed));
    std::string buffer(1000, '\0');
    ASSERT_GT(input->read(buffer), 0U);
    EXPECT_LT(input->consumed(), packed.size());
    readAll(*input);
    EXPECT_EQ(input->consumed(), packed.size());
    const auto plain = openText(text);
    readAll(*plain);
    EXPECT_EQ(plain->consumed(), text.size());
}

TEST_F(InputTest, ThatCannotBeReadNamesTheFileAndTheReason) {
    std::string sentence;
    EXPECT_EQ(statusOf([&] { openFile(directory_ / "none"); }, &sentence), Status::fileUnreadable);
    EXPECT_THAT(sentence, HasSubstr(directory_ / "none"));
    EXPECT_THAT(sentence, HasSubstr("No such file"));
    EXPECT_EQ(statusOf([&] { openFile(directory_.path()); }, &sentence), Status::fileUnreadable);
    EXPECT_THAT(sentence, HasSubstr("directory"));
}

}  // namespace
}  // namespace zdbs
