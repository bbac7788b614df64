// `zdbs sync`: a database that follows a folder.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <string>

#include "tests/zdbs/admin/program_fixture.h"
#include "tests/zdbs/embedded/store/tree_text.h"
#include "zdbs/embedded/store/snapshot.h"

namespace zdbs {

using namespace embedded;
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

class SyncProgram : public ProgramTest {
protected:
    SyncProgram() {
        makeDatabase();
        write("1.xml", "<a/>");
        write("sub/2.xml", "<b/>");
    }

    /** A file that was changed so many seconds after a moment long ago. */
    void write(const std::string &name, const std::string &content, time_t seconds = 0) const {
        fs::create_directories((directory_.path() / "f" / name).parent_path());
        const std::string file = directory_.write("f/" + name, content);
        const timespec time = {1600000000 + seconds, 0};
        const std::array<timespec, 2> times = {{time, time}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times.data(), 0), 0);
    }

    void remove(const std::string &name) const { fs::remove(directory_.path() / "f" / name); }

    std::string sync(const Words &options = {}) const {
        Words words = {"sync", "db", directory_ / "f"};
        words.insert(words.end(), options.begin(), options.end());
        return good(words);
    }

    std::string content() const { return treeText(*snapshotOf(*home())); }
    std::uint64_t state() const { return snapshotOf(*home())->state(); }
};

constexpr const char *twoUnchanged = "0 added, 0 replaced, 0 removed, 2 unchanged\n";

TEST_F(SyncProgram, LoadsWhatIsNewAndNothingTwice) {
    EXPECT_EQ(sync(), "2 added, 0 replaced, 0 removed, 0 unchanged\n");
    EXPECT_EQ(content(), "1.xml: a()\nsub/2.xml: b()\n");
    const std::uint64_t before = state();
    EXPECT_EQ(sync(), twoUnchanged);
    EXPECT_EQ(state(), before);
    write("3.xml", "<c/>");
    EXPECT_EQ(sync(), "1 added, 0 replaced, 0 removed, 2 unchanged\n");
    EXPECT_EQ(content(), "1.xml: a()\nsub/2.xml: b()\n3.xml: c()\n");
    EXPECT_EQ(good({"check", "db"}), "3 documents, 3 nodes, 2 segments: no errors\n");
}

TEST_F(SyncProgram, ReplacesWhatHasChanged) {
    sync();
    write("1.xml", "<d/>", 1);
    EXPECT_EQ(sync(), "0 added, 1 replaced, 0 removed, 1 unchanged\n");
    EXPECT_EQ(content(), "sub/2.xml: b()\n1.xml: d()\n");
    write("1.xml", "<d></d>", 1);  // of another size
    EXPECT_EQ(sync(), "0 added, 1 replaced, 0 removed, 1 unchanged\n");
}

TEST_F(SyncProgram, LooksAtTheContentWhereTheTimeIsAnotherOnly) {
    sync();
    write("1.xml", "<a/>", 1);
    EXPECT_EQ(sync(), twoUnchanged);
    // What is neither larger nor younger is not read: so this is not seen.
    write("1.xml", "<x/>", 1);
    EXPECT_EQ(sync(), twoUnchanged);
    EXPECT_EQ(content(), "1.xml: a()\nsub/2.xml: b()\n");
}

TEST_F(SyncProgram, SeesAChangeThatLeavesSizeAndTimeOfAFileThatWasJustWritten) {
    const fs::path file = directory_.path() / "f/1.xml";
    fs::last_write_time(file, fs::file_time_type::clock::now());
    const auto time = fs::last_write_time(file);
    sync();
    directory_.write("f/1.xml", "<x/>");
    fs::last_write_time(file, time);
    EXPECT_EQ(sync(), "0 added, 1 replaced, 0 removed, 1 unchanged\n");
}

TEST_F(SyncProgram, RemovesWhatIsGoneWhenAskedTo) {
    sync();
    remove("1.xml");
    EXPECT_EQ(sync(), "0 added, 0 replaced, 0 removed, 1 unchanged\n");
    EXPECT_EQ(sync({"--delete"}), "0 added, 0 replaced, 1 removed, 1 unchanged\n");
    EXPECT_EQ(content(), "sub/2.xml: b()\n");
    remove("sub/2.xml");
    EXPECT_EQ(sync({"--delete"}), "0 added, 0 replaced, 1 removed, 0 unchanged\n");
    EXPECT_EQ(content(), "");
}

TEST_F(SyncProgram, LeavesWhatItIsNotAboutAlone) {
    good({"load", "db", directory_.write("other.xml", "<o/>")});
    write("p.svg", "<p/>");
    EXPECT_EQ(sync({"--prefix", "in/f", "--delete"}),
              "2 added, 0 replaced, 0 removed, 0 unchanged\n");
    EXPECT_EQ(sync({"--prefix", "in/f/", "--pattern", "*.svg", "--delete"}),
              "1 added, 0 replaced, 0 removed, 0 unchanged\n");
    EXPECT_EQ(content(), "other.xml: o()\nin/f/1.xml: a()\nin/f/sub/2.xml: b()\nin/f/p.svg: p()\n");
    remove("1.xml");
    remove("p.svg");
    EXPECT_EQ(sync({"--prefix", "in/f", "--pattern", "*.svg", "--delete"}),
              "0 added, 0 replaced, 1 removed, 0 unchanged\n");
    EXPECT_EQ(content(), "other.xml: o()\nin/f/1.xml: a()\nin/f/sub/2.xml: b()\n");
}

TEST_F(SyncProgram, ReplacesWhatOthersLoadedOrReplaced) {
    good({"load", "db", directory_ / "f"});
    EXPECT_EQ(sync(), "0 added, 2 replaced, 0 removed, 0 unchanged\n");
    good({"replace", "db", directory_.write("1.xml", "<other/>")});
    EXPECT_EQ(sync(), "0 added, 1 replaced, 0 removed, 1 unchanged\n");
    EXPECT_EQ(sync(), twoUnchanged);
    EXPECT_EQ(content(), "sub/2.xml: b()\n1.xml: a()\n");
}

TEST_F(SyncProgram, NeedsNoNotesOfEarlierRuns) {
    sync();
    directory_.write("home/databases/db/notes", "no notes");
    EXPECT_EQ(sync(), "0 added, 2 replaced, 0 removed, 0 unchanged\n");
    EXPECT_EQ(sync(), twoUnchanged);
}

TEST_F(SyncProgram, FailsAsAWhole) {
    sync();
    write("1.xml", "<a2/>", 1);
    write("3.xml", "<c>");
    remove("sub/2.xml");
    EXPECT_THAT(bad({"sync", "db", directory_ / "f", "--delete"}),
                AllOf(HasSubstr("3.xml:1:4: "), HasSubstr("not well formed")));
    EXPECT_EQ(content(), "1.xml: a()\nsub/2.xml: b()\n");
    write("3.xml", "<c/>");
    EXPECT_EQ(sync({"--delete"}), "1 added, 1 replaced, 1 removed, 0 unchanged\n");
}

TEST_F(SyncProgram, RefusesTwoFilesOfOneDocumentAndFoldersThatAreNotThere) {
    write("1.xml.gz", "<a/>");
    EXPECT_THAT(bad({"sync", "db", directory_ / "f"}), HasSubstr("document 1.xml, too"));
    EXPECT_EQ(content(), "");
    EXPECT_THAT(bad({"sync", "db", directory_ / "none"}), HasSubstr("No such file"));
    EXPECT_THAT(bad({"sync", "none", directory_ / "f"}), HasSubstr("no such database"));
}

TEST_F(SyncProgram, GroupsLargeNumbers) {
    for (int i = 0; i < 1200; ++i)
        write("many/" + std::to_string(i) + ".xml", "<a/>");
    EXPECT_EQ(sync(), "1 202 added, 0 replaced, 0 removed, 0 unchanged\n");
    EXPECT_EQ(sync(), "0 added, 0 replaced, 0 removed, 1 202 unchanged\n");
}

}  // namespace
}  // namespace zdbs
