#include "zdbs/embedded/columns/checked_blocks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "zdbs/base/status.h"
#include "zdbs/embedded/columns/value_column.h"

namespace zdbs::embedded {
namespace {

using testing::HasSubstr;

constexpr std::size_t blockSize = CheckedBlocks::blockSize;

std::vector<std::uint32_t> checksumsOf(std::string_view bytes) {
    BlockChecksums checksums;
    for (; !bytes.empty(); bytes.remove_prefix(std::min<std::size_t>(bytes.size(), 1000)))
        checksums.add(bytes.substr(0, 1000));
    return checksums.checksums();
}

TEST(CheckedBlocks, HaveTheChecksumsThatZlibHas) {
    EXPECT_EQ(crc32Of("123456789"), 0xcbf43926U);
    EXPECT_EQ(crc32Of("6789", crc32Of("12345")), 0xcbf43926U);
    EXPECT_EQ(crc32Of(""), 0U);
}

TEST(CheckedBlocks, AreVerifiedWhereSomebodyReadsAndNowhereElse) {
    std::string bytes(3 * blockSize + 100, 'x');
    CheckedBlocks blocks(bytes, checksumsOf(bytes), "a file");
    const std::string_view view = bytes;
    bytes[2 * blockSize] = 'y';
    EXPECT_FALSE(blocks.areKnown(view.substr(0, 1)));
    blocks.require(view.substr(0, 2 * blockSize));
    EXPECT_TRUE(blocks.areKnown(view.substr(2 * blockSize - 1, 1)));
    EXPECT_FALSE(blocks.areKnown(view.substr(2 * blockSize - 1, 2)));
    EXPECT_FALSE(blocks.areSound(view.substr(2 * blockSize - 1, 2)));
    EXPECT_TRUE(blocks.areSound(view.substr(3 * blockSize)));
    try {
        blocks.require(view.substr(2 * blockSize - 1, 2));
        FAIL();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.status(), Status::homeDamaged);
        EXPECT_THAT(failure.what(), HasSubstr("a file"));
        EXPECT_THAT(failure.what(), HasSubstr("block 2"));
    }
}

TEST(CheckedBlocks, OfNothingAreSound) {
    const CheckedBlocks blocks("", {}, "");
    blocks.require("");
    EXPECT_TRUE(blocks.areSound(""));
}

/** A column over several blocks, one of which is then damaged behind its header and indexes. */
class CheckedColumn : public testing::Test {
protected:
    CheckedColumn() {
        ValueColumnBuilder values;
        for (int i = 0; i < 8000; ++i)
            values.add("a value of some length, number " + std::to_string(i));
        std::vector<ValueKey> keys;
        values.finish(bytes_, keys);
        checksums_ = checksumsOf(bytes_);
    }

    Status statusOf(const ValueTest &test) const {
        const CheckedBlocks blocks(bytes_, checksums_, "f");
        PartCheck check;
        check.watch(blocks, bytes_);
        try {
            (void)ValueColumn(bytes_, check).find(test);
            return Status::ok;
        } catch (const Failure &failure) {
            return failure.status();
        }
    }

    std::string bytes_;
    std::vector<std::uint32_t> checksums_;
};

TEST_F(CheckedColumn, AnswersNothingFromABlockThatIsDamaged) {
    const ValueTest all(Relation::contains, "of some", Comparing::asTexts);
    const ValueTest last(Relation::equal, "a value of some length, number 9", Comparing::asTexts);
    EXPECT_EQ(statusOf(all), Status::ok);
    EXPECT_EQ(statusOf(last), Status::ok);
    bytes_[bytes_.size() - blockSize / 2] ^= 1;
    EXPECT_EQ(statusOf(all), Status::homeDamaged);
    bytes_[bytes_.size() - blockSize / 2] ^= 1;
    bytes_[100] ^= 1;
    EXPECT_EQ(statusOf(last), Status::homeDamaged);
}

}  // namespace
}  // namespace zdbs::embedded
