#include "zdbs/admin/source_notes.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <string>

#include "tests/support/temporary_directory.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {
namespace {

TEST(SourceNotes, AreReadAsTheyWereWritten) {
    SourceNotes notes;
    EXPECT_EQ(readNotes(textOf(notes)), notes);
    notes[1] = {"a b/c d.xml", 12, 1700000000123456789, "0af1"};
    notes[7000000000] = {"m\xc3\xa4r.xml", 0, 0, ""};
    notes[8] = {"past.xml", 3, -5, "ff"};
    EXPECT_EQ(readNotes(textOf(notes)), notes);
}

TEST(SourceNotes, ThatAreNoneAreLeftOut) {
    EXPECT_TRUE(readNotes("").empty());
    EXPECT_TRUE(readNotes("zdbs-sources 2\n1 2 3 ab c.xml\n").empty());
    const SourceNotes notes =
        readNotes("zdbs-sources 1\nx 2 3 ab c.xml\n1 2\n\n4 -5 6 ab d.xml\n7 8 9 cd e.xml");
    ASSERT_EQ(notes.size(), 1U);
    EXPECT_EQ(notes.at(7), (SourceNote{"e.xml", 8, 9, "cd"}));
}

class SourceFile : public testing::Test {
protected:
    std::string write(const std::string &content) const {
        return directory_.write("a.xml", content);
    }

    support::TemporaryDirectory directory_;
};

TEST_F(SourceFile, IsKnownByItsContent) {
    const std::string empty = digestOf(write(""));
    EXPECT_EQ(empty, "99aa06d3014798d86001c324468d497f");  // of XXH3 with 128 bits
    const std::string large(1000000, 'x');
    EXPECT_EQ(digestOf(write(large)), digestOf(write(large)));
    EXPECT_NE(digestOf(write(large)), digestOf(write(large + "x")));
    EXPECT_THROW(digestOf(directory_ / "none"), Failure);
    EXPECT_THROW(digestOf(directory_.path()), Failure);
}

TEST_F(SourceFile, HasNoTimeWhileItMayStillChangeWithinIt) {
    const std::string file = write("12345");
    EXPECT_EQ(noteOf(file).bytes, 5U);
    const std::array<timespec, 2> past = {{{1700000000, 0}, {1700000000, 5}}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), past.data(), 0), 0);
    EXPECT_EQ(noteOf(file).time, 1700000000000000005);
    const std::array<timespec, 2> future = {{{9000000000, 0}, {9000000000, 0}}};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), future.data(), 0), 0);
    EXPECT_EQ(noteOf(file).time, 0);
    EXPECT_THROW(noteOf(directory_ / "none"), Failure);
}

}  // namespace
}  // namespace zdbs::admin
