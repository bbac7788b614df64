#include "zdbs/admin/xml_sources.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/temporary_directory.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

class XmlSourcesTest : public testing::Test {
protected:
    void write(const std::string &name) const {
        fs::create_directories((directory_.path() / name).parent_path());
        directory_.write(name, "<a/>");
    }

    std::vector<std::string> documents(const std::string &path) const {
        std::vector<std::string> names;
        for (const XmlSource &source : findXml(path))
            names.push_back(source.document);
        return names;
    }

    std::string failure(const std::string &path) const {
        try {
            findXml(path);
            return "";
        } catch (const Failure &error) {
            EXPECT_EQ(error.status(), Status::fileUnreadable);
            return error.what();
        }
    }

    support::TemporaryDirectory directory_;
};

TEST_F(XmlSourcesTest, OfAFileIsTheFileWhateverItsName) {
    for (const char *name : {"a.xml", "b.svg", "noending"}) {
        write(name);
        EXPECT_THAT(documents(directory_ / name), ElementsAre(name));
    }
    const auto sources = findXml(directory_ / "a.xml");
    EXPECT_EQ(sources[0].file, directory_ / "a.xml");
    EXPECT_EQ(sources[0].label, directory_ / "a.xml");
    EXPECT_EQ(sources[0].size, 4U);
}

TEST_F(XmlSourcesTest, OfPackedFilesAreNamedWithoutThat) {
    for (const char *name : {"a.xml.gz", "b.xml.zst", "c.gz", ".gz", "d.xml.gz.zst"})
        write(name);
    EXPECT_THAT(documents(directory_ / "a.xml.gz"), ElementsAre("a.xml"));
    EXPECT_THAT(documents(directory_ / "b.xml.zst"), ElementsAre("b.xml"));
    EXPECT_THAT(documents(directory_ / "c.gz"), ElementsAre("c"));
    EXPECT_THAT(documents(directory_ / ".gz"), ElementsAre(".gz"));
    EXPECT_THAT(documents(directory_ / "d.xml.gz.zst"), ElementsAre("d.xml.gz"));
}

TEST_F(XmlSourcesTest, OfAFolderAreTheXmlFilesBelowItByName) {
    for (const char *name : {"f/z.xml", "f/a.xml", "f/sub/b.xml", "f/sub/deep/c.xml.gz",
                             "f/m.xml.zst", "f/no.txt", "f/.xml", "f/xml", "f/a.xml~", "f/A.XML"})
        write(name);
    fs::create_directory(directory_.path() / "f" / "folder.xml");
    const auto expected = ElementsAre("a.xml", "m.xml", "sub/b.xml", "sub/deep/c.xml", "z.xml");
    EXPECT_THAT(documents(directory_ / "f"), expected);
    EXPECT_THAT(documents((directory_ / "f") + "/"), expected);
    EXPECT_THAT(documents((directory_ / "f") + "/sub/.."), expected);
}

TEST_F(XmlSourcesTest, FollowLinksToFilesAndNotToFolders) {
    write("elsewhere/x.xml");
    write("f/a.xml");
    fs::create_symlink(directory_ / "elsewhere/x.xml", directory_ / "f/link.xml");
    fs::create_directory_symlink(directory_ / "elsewhere", directory_ / "f/folder");
    fs::create_directory_symlink(directory_ / "f", directory_ / "f/loop");
    EXPECT_THAT(documents(directory_ / "f"), ElementsAre("a.xml", "link.xml"));
}

TEST_F(XmlSourcesTest, AreNoPipesOfFolders) {
    write("f/a.xml");
    ASSERT_EQ(::mkfifo((directory_ / "f/pipe.xml").c_str(), 0600), 0);
    fs::create_symlink("/dev/null", directory_ / "f/device.xml");
    EXPECT_THAT(documents(directory_ / "f"), ElementsAre("a.xml"));
    // Asked for by name, one is read.
    const auto sources = findXml(directory_ / "f/pipe.xml");
    ASSERT_EQ(sources.size(), 1U);
    EXPECT_EQ(sources[0].document, "pipe.xml");
    EXPECT_FALSE(sources[0].size.has_value());
}

TEST_F(XmlSourcesTest, AreLinksThatLeadNowhereSoThatTheyAreTold) {
    write("f/a.xml");
    fs::create_symlink("nowhere", directory_ / "f/broken.xml");
    fs::create_symlink("self.xml", directory_ / "f/self.xml");
    const auto sources = findXml(directory_ / "f");
    ASSERT_EQ(sources.size(), 3U);
    EXPECT_EQ(sources[1].document, "broken.xml");
    EXPECT_EQ(sources[2].document, "self.xml");
    for (const std::size_t i : {1U, 2U})
        EXPECT_THROW(sources[i].open(), Failure);
}

TEST_F(XmlSourcesTest, TellOfAFolderBelowThatCannotBeRead) {
    write("f/a.xml");
    write("f/closed/b.xml");
    write("f/z.xml");
    fs::permissions(directory_ / "f/closed", fs::perms::none);
    const bool isAllowedAll = ::access((directory_ / "f/closed").c_str(), R_OK) == 0;
    const auto found = documents(directory_ / "f");
    const auto sources = findXml(directory_ / "f");
    if (isAllowedAll) {  // root
        EXPECT_THAT(found, ElementsAre("a.xml", "closed/b.xml", "z.xml"));
    } else {
        EXPECT_THAT(found, ElementsAre("a.xml", "closed", "z.xml"));
        EXPECT_THROW(sources[1].open(), Failure);
    }
    fs::permissions(directory_ / "f/closed", fs::perms::owner_all);
}

TEST_F(XmlSourcesTest, OfADeepFolderAreFound) {
    std::string path = "f";
    for (int i = 0; i < 300; ++i)
        path += "/d";
    write(path + "/a.xml");
    EXPECT_EQ(documents(directory_ / "f").size(), 1U);
}

TEST_F(XmlSourcesTest, OfStandardInputHaveANameToo) {
    const auto sources = findXml("-");
    ASSERT_EQ(sources.size(), 1U);
    EXPECT_TRUE(sources[0].file.empty());
    EXPECT_EQ(sources[0].label, "standard input");
    EXPECT_EQ(sources[0].document, "stdin.xml");
}

TEST_F(XmlSourcesTest, ThatAreNotThereAreNamed) {
    fs::create_directory(directory_.path() / "empty");
    EXPECT_THAT(failure(directory_ / "none.xml"), HasSubstr("No such file"));
    EXPECT_THAT(failure(directory_ / "empty"), HasSubstr("no XML files"));
    EXPECT_THAT(failure(directory_ / "empty"), HasSubstr(directory_ / "empty"));
}

}  // namespace
}  // namespace zdbs::admin
