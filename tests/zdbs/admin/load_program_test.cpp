#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>

#include "tests/zdbs/admin/program_fixture.h"
#include "tests/zdbs/embedded/store/tree_text.h"
#include "zdbs/embedded/store/snapshot.h"

namespace zdbs {

using namespace embedded;
namespace {

namespace fs = std::filesystem;
using support::exited;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class LoadProgram : public ProgramTest {
protected:
    LoadProgram() { makeDatabase(); }

    std::string write(const std::string &name, const std::string &content) const {
        fs::create_directories((directory_.path() / name).parent_path());
        return directory_.write(name, content);
    }

    std::string content() const { return treeText(*snapshotOf(*home())); }

    /** Runs programs of the system where the files are. */
    void packBy(const std::string &script) const {
        const auto result = support::run(
            {"/bin/sh", {"-ec", "cd " + directory_.path().native() + "; " + script}, {}, {}});
        ASSERT_EQ(result.ending, exited(0)) << result.err;
    }

    /** Packs a file with a program of the system. */
    void pack(const char *program, const std::string &file) const {
        const auto result = support::run({program, {"-q", file}, {}, {}});
        ASSERT_EQ(result.ending, exited(0)) << result.err;
    }
};

TEST_F(LoadProgram, TakesFilesFoldersAndStandardInput) {
    write("f/b.xml", "<b/>");
    write("f/sub/c.xml", "<c/>");
    write("f/no.txt", "not XML");
    const std::string file = write("elsewhere/a.svg", "<a/>");
    EXPECT_EQ(good({"load", "db", file, directory_ / "f", "-"}, "<stdin/>"), "");
    EXPECT_EQ(content(), "a.svg: a()\nb.xml: b()\nsub/c.xml: c()\nstdin.xml: stdin()\n");
}

TEST_F(LoadProgram, TakesPackedFilesWhateverTheirNames) {
    write("f/a.xml", "<a>1</a>");
    write("f/b.xml", "<b>2</b>");
    pack("gzip", directory_ / "f/a.xml");
    pack("zstd", directory_ / "f/b.xml");
    fs::remove(directory_ / "f/b.xml");
    good({"load", "db", directory_ / "f"});
    EXPECT_EQ(content(), "a.xml: a('1')\nb.xml: b('2')\n");
    const std::string packed = support::readFile(directory_ / "f/a.xml.gz");
    good({"load", "db", "-", "--name", "c.xml"}, packed);
    EXPECT_EQ(content(), "a.xml: a('1')\nb.xml: b('2')\nc.xml: a('1')\n");
}

TEST_F(LoadProgram, TakesFilesThatOtherProgramsPacked) {
    write("a.xml", "<a>1</a>");
    write("b.xml", "<b>" + std::string(1000000, 'b') + "</b>");
    packBy("bzip2 -k a.xml; xz -k b.xml");
    good({"load", "db", directory_ / "a.xml.bz2", directory_ / "b.xml.xz"});
    EXPECT_EQ(good({"query", "db", "--documents", "/a", "/b"}), "a.xml\nb.xml\n");
    EXPECT_EQ(good({"dump", "db", "b.xml"}).size(), 1000008U);
    const std::string bytes = support::readFile(directory_ / "b.xml.xz");
    EXPECT_THAT(bad({"load", "db", write("cut.xz", bytes.substr(0, bytes.size() / 2))}),
                HasSubstr("cut.xz is damaged"));
    EXPECT_THAT(bad({"load", "db", write("bad.bz2", "BZh9 is none")}),
                HasSubstr("not well formed"));
    good({"load", "db", "-"}, bytes);
}

TEST_F(LoadProgram, TakesArchives) {
    write("f/a.xml", "<a>1</a>");
    write("f/sub/m\xc3\xa4r.xml", "<b>2</b>");
    write("f/sub/c.svg", "<c/>");
    packBy(
        "cd f; gzip sub/*.xml; tar cf ../t.tar .; tar cJf ../t.any a.xml sub; "
        "zip -qr ../t.zip a.xml sub; tar czf ../none.tgz sub/c.svg");
    for (const char *name : {"t.tar", "t.any", "t.zip"}) {
        good({"load", "db", directory_ / name, "--prefix", name});
        const std::string top = std::string(name) + '/';
        EXPECT_EQ(good({"query", "db", "--values", "/a", "/b"}), "1\n2\n");
        good({"load", "db", directory_ / name, "--pattern", "*.svg"});
        EXPECT_EQ(good({"query", "db", "--documents", "/c"}), "sub/c.svg\n");
        good({"remove", "db", top + "a.xml", top + "sub/m\xc3\xa4r.xml", "sub/c.svg"});
    }
    EXPECT_THAT(bad({"load", "db", directory_ / "none.tgz"}), HasSubstr("no XML files"));
    const std::string bytes = support::readFile(directory_ / "t.any");
    bad({"load", "db", write("cut.any", bytes.substr(0, bytes.size() - 40))});
    EXPECT_EQ(content(), "");
}

TEST_F(LoadProgram, NamesFilesOfArchivesInMessages) {
    write("a.xml", "<a>");
    packBy("tar cf t.tar ./a.xml");
    EXPECT_EQ(bad({"load", "db", directory_ / "t.tar"}),
              "zdbs: " + (directory_ / "t.tar") +
                  ": a.xml:1:4: The document is not well formed: <a> of 1:1 does not end.\n");
}

TEST_F(LoadProgram, NamesASingleFileAsTold) {
    const std::string file = write("a.xml", "<a/>");
    good({"load", "db", file, "--name", "some/other name.xml"});
    EXPECT_EQ(content(), "some/other name.xml: a()\n");
    write("f/b.xml", "<b/>");
    write("f/c.xml", "<c/>");
    EXPECT_THAT(bad({"load", "db", directory_ / "f", "--name", "x"}, 2), HasSubstr("--name"));
    EXPECT_THAT(bad({"load", "db", file, "--name", "../x"}), HasSubstr("../x"));
    EXPECT_EQ(content(), "some/other name.xml: a()\n");
}

TEST_F(LoadProgram, TakesTheFilesOfAList) {
    write("f/a.xml", "<a/>");
    write("f/sub/b.txt", "<b/>");
    const std::string list = directory_ / "f/a.xml" + "\n\n" + (directory_ / "f/sub/b.txt") + "\n";
    const std::string top = directory_.path().relative_path();
    good({"load", "db", "--files-from", "-"}, list);
    EXPECT_EQ(content(), top + "/f/a.xml: a()\n" + top + "/f/sub/b.txt: b()\n");
    good({"create", "other"});
    const std::string nul =
        directory_ / "f/a.xml" + std::string(1, '\0') + (directory_ / "f/./a.xml");
    EXPECT_THAT(bad({"load", "other", "--files-from", write("list", nul), "-0"}),
                HasSubstr("already"));
    good({"load", "other", "--files-from", write("list", nul.substr(0, nul.find('\0'))), "-0",
          "--prefix", "listed"});
    EXPECT_EQ(treeText(*snapshotOf(*home(), "other")), "listed/" + top + "/f/a.xml: a()\n");
    EXPECT_THAT(bad({"load", "db", "--files-from", directory_ / "none"}), HasSubstr("No such"));
    EXPECT_THAT(bad({"load", "db"}, 2), HasSubstr("--files-from"));
    EXPECT_THAT(bad({"load", "db", "x", "--files-from", "y"}, 2), HasSubstr("--files-from"));
}

TEST_F(LoadProgram, TakesTheFilesOfFoldersThatFitAPattern) {
    write("f/a.svg", "<a/>");
    write("f/b.xml", "<b/>");
    write("f/sub/c.svg", "<c/>");
    write("f/sub/d.rng", "<d/>");
    good({"load", "db", directory_ / "f", "--pattern", "*.svg", "--pattern", "sub/*.rng",
          "--prefix", "some/"});
    EXPECT_EQ(content(), "some/a.svg: a()\nsome/sub/c.svg: c()\nsome/sub/d.rng: d()\n");
    EXPECT_THAT(bad({"load", "db", directory_ / "f", "--pattern", "/*.rng"}),
                HasSubstr("no XML files"));
}

TEST_F(LoadProgram, RemovesSeveralDocumentsOrNone) {
    good({"load", "db", write("a.xml", "<a/>"), write("b.xml", "<b/>"), write("c.xml", "<c/>")});
    EXPECT_THAT(bad({"remove", "db", "a.xml", "none.xml"}), HasSubstr("none.xml"));
    EXPECT_EQ(content(), "a.xml: a()\nb.xml: b()\nc.xml: c()\n");
    good({"remove", "db", "a.xml", "c.xml"});
    EXPECT_EQ(content(), "b.xml: b()\n");
}

TEST_F(LoadProgram, StopsAtABadFileAndStoresNothing) {
    write("f/1.xml", "<a/>");
    const std::string wrong = write("f/2.xml", "<a>\n  <b></a>");
    write("f/3.xml", "<c/>");
    for (const Words &options : {Words{}, Words{"--stop"}}) {
        Words words = {"load", "db", directory_ / "f"};
        words.insert(words.end(), options.begin(), options.end());
        EXPECT_EQ(bad(words),
                  "zdbs: " + wrong +
                      ":2:6: The document is not well formed: </a> at 2:6 closes <b> of 2:3.\n"
                      "zdbs: Nothing was stored.\n");
        EXPECT_EQ(content(), "");
    }
}

TEST_F(LoadProgram, SkipsBadFilesWhenAskedTo) {
    write("f/1.xml", "<a/>");
    const std::string wrong = write("f/2.xml", "<a>");
    write("f/3.xml", "<c/>");
    const std::string missing = directory_ / "missing.xml";
    EXPECT_EQ(bad({"load", "db", "--skip", directory_ / "f", missing}),
              "zdbs: The file " + missing + " cannot be read: No such file or directory.\n" +
                  "zdbs: " + wrong +
                  ":1:4: The document is not well formed: <a> of 1:1 does not end.\n" +
                  "zdbs: 2 documents stored, 2 skipped.\n");
    EXPECT_EQ(content(), "1.xml: a()\n3.xml: c()\n");
    // Loaded again they are all bad: there already, or wrong.
    EXPECT_THAT(bad({"load", "db", "--skip", directory_ / "f"}),
                AllOf(HasSubstr("already: 1.xml"), HasSubstr("already: 3.xml"),
                      HasSubstr("0 documents stored, 3 skipped")));
    EXPECT_EQ(content(), "1.xml: a()\n3.xml: c()\n");
}

TEST_F(LoadProgram, NamesFilesWithoutObeyingTheirNames) {
    write("f/a.xml", "<a/>");
    write("f/b\n\x1b[2J.xml", "<b/>");
    write("f/c\xff.xml", "<c/>");
    const std::string told = bad({"load", "db", "--skip", directory_ / "f"});
    EXPECT_THAT(told, AllOf(HasSubstr("b\\n\\x1b[2J.xml;"), HasSubstr("c\\xff.xml;"),
                            HasSubstr("1 document stored, 2 skipped.")));
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 3);
    EXPECT_EQ(content(), "a.xml: a()\n");
}

TEST_F(LoadProgram, TakesTenThousandFiles) {
    for (int i = 0; i < 10000; ++i)
        write("f/" + std::to_string(i % 100) + '/' + std::to_string(i) + ".xml", "<a/>");
    EXPECT_EQ(good({"load", "db", directory_ / "f"}), "");
    EXPECT_EQ(snapshotOf(*home())->documents().size(), 10000U);
}

TEST_F(LoadProgram, SkippingNothingIsSuccess) {
    EXPECT_EQ(good({"load", "db", "--skip", write("a.xml", "<a/>")}), "");
}

TEST_F(LoadProgram, RefusesADocumentThatIsThereAndNamesReplace) {
    const std::string file = write("a.xml", "<a/>");
    good({"load", "db", file});
    EXPECT_THAT(bad({"load", "db", file}),
                AllOf(HasSubstr("already: a.xml in database db"), HasSubstr("zdbs replace")));
    write("f/x.xml", "<x/>");
    write("g/x.xml", "<x/>");
    EXPECT_THAT(bad({"load", "db", directory_ / "f", directory_ / "g"}),
                HasSubstr("already: x.xml"));
    EXPECT_EQ(content(), "a.xml: a()\n");
}

TEST_F(LoadProgram, TellsWhatIsNotThere) {
    EXPECT_THAT(bad({"load", "none", write("a.xml", "<a/>")}), HasSubstr("no such database: none"));
    EXPECT_THAT(bad({"load", "db", directory_ / "none.xml"}), HasSubstr("No such file"));
    fs::create_directory(directory_.path() / "empty");
    EXPECT_THAT(bad({"load", "db", directory_ / "empty"}), HasSubstr("no XML files"));
}

TEST_F(LoadProgram, TakesItsLimitsFromTheCommandLine) {
    const std::string file = write("a.xml", "<a bc='1' de='2'><f><g>long text</g></f></a>");
    EXPECT_THAT(bad({"load", "db", file, "--max-depth", "2"}), HasSubstr("more than 2 levels"));
    EXPECT_THAT(bad({"load", "db", file, "--max-attributes", "1"}), HasSubstr("more than 1."));
    EXPECT_THAT(bad({"load", "db", file, "--max-name", "1"}), HasSubstr("more than 1 bytes"));
    EXPECT_THAT(bad({"load", "db", file, "--max-value", "8"}), HasSubstr("more than 8 bytes"));
    const std::string nested = write(
        "n.xml", "<!DOCTYPE a [<!ENTITY x '1'><!ENTITY y '&x;'><!ENTITY z '&y;'>]><a>&z;</a>");
    EXPECT_THAT(bad({"load", "db", nested, "--max-entity-nesting", "2"}),
                HasSubstr("more than 2 levels"));
    std::string many = "<!DOCTYPE a [<!ATTLIST b c CDATA '" + std::string(100000, 'x') + "'>]><a>";
    for (int i = 0; i < 200; ++i)
        many += "<b/>";
    const std::string defaults = write("d.xml", many + "</a>");
    EXPECT_THAT(bad({"load", "db", defaults, "--max-expansion", "20"}),
                HasSubstr("more than 20 times the document"));
    good({"load", "db", nested, file, "--max-depth", "3", "--max-attributes", "2", "--max-name",
          "2", "--max-value", "9", "--max-entity-nesting", "3", "--max-expansion", "4"});
}

TEST_F(LoadProgram, DefinesEntitiesWhenAskedTo) {
    const std::string file = write("a.xml", "<a b='&eacute;'>x&nbsp;&rarr;</a>");
    EXPECT_THAT(bad({"load", "db", file}), HasSubstr("eacute cannot be expanded"));
    good({"load", "db", file, "--entities", "xhtml"});
    const std::string own = write("own.ent", "<!ENTITY eacute 'E'><!ENTITY nbsp '<n/>'>");
    EXPECT_THAT(bad({"load", "db", file, "--name", "2", "--entities", own}),
                HasSubstr("a.xml:1:24: The entity rarr cannot be expanded"));
    write("own.ent", "<!ENTITY eacute 'E'><!ENTITY nbsp '<n/>'><!ENTITY rarr '&nbsp;'>");
    good({"load", "db", file, "--name", "2", "--entities", own});
    EXPECT_EQ(content(), "a.xml: a(@b=\xc3\xa9 'x\xc2\xa0\xe2\x86\x92')\n2: a(@b=E 'x' n() n())\n");
    EXPECT_THAT(bad({"load", "db", file, "--entities", directory_ / "none"}),
                HasSubstr("No such file"));
    EXPECT_THAT(bad({"load", "db", file, "--entities", write("bad.ent", "<!ENTITY x>\n")}),
                HasSubstr("bad.ent:1:11: "));
    fs::create_directory(directory_.path() / "f");
    write("f/b.xml", "<b>&copy;</b>");
    good({"sync", "db", directory_ / "f", "--entities", "xhtml"});
}

TEST_F(LoadProgram, StripsWhiteSpaceWhenAskedTo) {
    const std::string file = write("a.xml", "<a> <b>x </b>\n</a>");
    good({"load", "db", file, "--name", "kept"});
    good({"load", "db", file, "--name", "stripped", "--strip-space"});
    EXPECT_EQ(content(), "kept: a(' ' b('x ') '\\n')\nstripped: a(b('x '))\n");
}

TEST_F(LoadProgram, IsSilentOnPipes) {
    std::string xml = "<a>";
    for (int i = 0; i < 200000; ++i)
        xml += "<b>text</b>";
    EXPECT_EQ(good({"load", "db", "-"}, xml + "</a>"), "");
}

TEST_F(LoadProgram, KilledInTheMiddleLeavesTheDatabaseAsItWas) {
    good({"load", "db", write("a.xml", "<a/>")});
    support::PipedProgram program(command({"load", "db", "-"}));
    std::string piece;
    for (int i = 0; i < 100000; ++i)
        piece += "<b c='attribute'>some text</b>";
    ASSERT_TRUE(program.send("<a>"));
    for (int i = 0; i < 5; ++i)
        ASSERT_TRUE(program.send(piece));
    program.signal(SIGKILL);
    EXPECT_EQ(program.finish().ending, support::killedBy(SIGKILL));
    EXPECT_EQ(content(), "a.xml: a()\n");
    good({"load", "db", "-"}, "<b/>");
    EXPECT_EQ(content(), "a.xml: a()\nstdin.xml: b()\n");
}

TEST_F(LoadProgram, DumpAndLoadIsTheSame) {
    const std::string file = write("a.xml", "<?p i?><a x='&lt;&#10;'>\n<b xmlns='u'/>&#13;</a>");
    good({"load", "db", file});
    good({"dump", "db", "--output", directory_ / "out"});
    good({"create", "copy"});
    good({"load", "copy", directory_ / "out"});
    EXPECT_EQ(treeText(*snapshotOf(*home(), "copy")), content());
    EXPECT_THAT(content(), Not(IsEmpty()));
}

}  // namespace
}  // namespace zdbs
