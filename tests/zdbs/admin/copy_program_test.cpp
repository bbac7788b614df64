/** `zdbs copy` between homes, of one engine and of two. */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <csignal>
#include <filesystem>

#include "tests/zdbs/admin/program_fixture.h"
#ifdef VEXA_SQL_ENGINE
#include "tests/support/database_server.h"
#endif

namespace zdbs {
namespace {

using support::exited;
using support::PipedProgram;
using ::testing::HasSubstr;

/** Rows of what every kind of node and name looks like. */
const std::vector<std::pair<std::string, std::string>> documents = {
    {"z.xml",
     "<?x y?><!--in front--><a b='&lt;&quot;&apos;'> text <c/>&amp;]]&gt;</a><!--behind-->"},
    {"folder/n.xml",
     "<n:a xmlns:n='urn:n' xmlns='urn:d'><b n:c='1' c='2'/><d xmlns=''>\xc3\xa4&#13;</d></n:a>"},
    {"a.xml", "<r><?p?><e/><e></e>\n<e x=''>\n</e></r>"},
};

class Copy : public ProgramTest {
protected:
    void SetUp() override {
        makeDatabase();
        good({"user", "add", "alice", "--password-stdin"}, "secret\n");
        good({"grant", "alice", "db"});
        // So that numbers are others than those of the copy.
        good({"load", "db", "-", "--name", "gone"}, "<g><h/></g>");
        for (const auto &[name, xml] : documents)
            good({"load", "db", "-", "--name", name}, xml);
        good({"remove", "db", "gone"});
        good({"--home", there_, "init"});
    }

    std::string at(const std::string &home, Words words) const {
        words.insert(words.begin(), {"--home", home});
        return good(words);
    }
    std::string there(const Words &words) const { return at(there_, words); }

    std::string dumped(const std::string &home, const std::string &database) const {
        std::string text;
        for (const auto &[name, xml] : documents)
            text += at(home, {"dump", database, name}) + "\n";
        return text;
    }

    /** The names of its documents, in order. */
    std::string listed(const std::string &home, const std::string &database) const {
        std::string rows = at(home, {"list", database});
        std::erase_if(rows, [](char each) { return each == ' ' || std::isdigit(each) != 0; });
        return rows;
    }

    void expectCopy(const std::string &home, const std::string &database) const {
        EXPECT_EQ(dumped(home, database), dumped(homePath_, "db"));
        EXPECT_EQ(listed(home, database), listed(homePath_, "db"));
        EXPECT_THAT(at(home, {"check", database}), HasSubstr("no errors"));
    }

    /** More than is copied before somebody notices that it is under way. */
    void makeLarge() const {
        std::string xml = "<r>";
        for (int i = 0; i < 300000; ++i)
            xml += "<e>" + std::to_string(i) + "</e>";
        good({"create", "large"});
        good({"load", "large", "-", "--name", "large"}, xml + "</r>");
    }

    static void expectInterrupted(PipedProgram &program) {
        program.signal(SIGINT);
        const auto result = program.finish();
        EXPECT_EQ(result.ending, exited(130));
        EXPECT_EQ(result.err, "zdbs: Interrupted. Nothing was copied.\n");
    }

    std::string there_ = directory_ / "there";
};

TEST_F(Copy, HasTheSameDocumentsInTheSameOrder) {
    EXPECT_EQ(good({"copy", "db", "--to", there_}), "");
    expectCopy(there_, "db");
    EXPECT_EQ(there({"user", "list", "--json"}), "[]\n");
}

TEST_F(Copy, MayHaveAnotherNameInTheSameHome) {
    good({"copy", "db", "--to", homePath_, "--as", "other"});
    expectCopy(homePath_, "other");
    good({"remove", "db", "a.xml"});
    EXPECT_THAT(good({"list", "other"}), HasSubstr("a.xml"));
}

TEST_F(Copy, IsOfAnEmptyDatabase) {
    good({"create", "empty"});
    good({"copy", "empty", "--to", there_});
    EXPECT_THAT(there({"list"}), HasSubstr("empty"));
}

TEST_F(Copy, GoesIntoADatabaseThatIsEmptyAndIntoNoOther) {
    there({"create", "db"});
    good({"copy", "db", "--to", there_});
    const std::string before = dumped(there_, "db");
    EXPECT_THAT(bad({"copy", "db", "--to", there_}), HasSubstr("db"));
    EXPECT_THAT(bad({"copy", "db", "--to", homePath_}), HasSubstr("db"));
    EXPECT_EQ(dumped(there_, "db"), before);
    expectCopy(there_, "db");
}

TEST_F(Copy, OfNothingOrToNowhereIsASentence) {
    EXPECT_THAT(bad({"copy", "none", "--to", there_}), HasSubstr("none"));
    EXPECT_THAT(bad({"copy", "db", "--to", directory_ / "nowhere"}), HasSubstr("nowhere"));
    EXPECT_THAT(bad({"copy", "db", "--to", "https://host"}), HasSubstr("https://host"));
    EXPECT_THAT(bad({"copy", "db", "--to", there_, "--as", "a/b"}), HasSubstr("a/b"));
    EXPECT_THAT(bad({"copy", "db"}, 2), HasSubstr("--to"));
    EXPECT_EQ(there({"list", "--json"}), "[]\n");
}

TEST_F(Copy, ThatIsInterruptedLeavesNothing) {
    makeLarge();
    const std::string before = there({"list", "--json"});
    PipedProgram program(command({"copy", "large", "--to", there_, "--as", "new"}));
    while (!std::filesystem::exists(there_ + "/databases/new")) {
    }
    expectInterrupted(program);
    EXPECT_EQ(there({"list", "--json"}), before);
}

TEST_F(Copy, ThatIsInterruptedLeavesADatabaseEmptyThatWas) {
    there({"create", "db"});
    PipedProgram holder(command({"--home", there_, "load", "db", "-", "--name", "other.xml"}));
    ASSERT_TRUE(holder.send("<a>" + std::string(1000000, 'x')));
    PipedProgram program(command({"copy", "db", "--to", there_}));
    ASSERT_TRUE(program.waitForError("wait"));
    program.signal(SIGINT);
    EXPECT_EQ(program.finish().ending, exited(130));
    holder.signal(SIGINT);
    EXPECT_EQ(holder.finish().ending, exited(130));
    good({"copy", "db", "--to", there_});
    expectCopy(there_, "db");
}

#ifdef VEXA_SQL_ENGINE
class CopyOnServer : public Copy {
protected:
    void SetUp() override {
        if (!support::DatabaseServer::canStart())
            GTEST_SKIP() << "PostgreSQL's programs are not installed";
        Copy::SetUp();
        support::DatabaseServer &server = support::DatabaseServer::ofProcess();
        server.createDatabase(there_);
        url_ = server.urlOf(there_);
        at(url_, {"init"});
    }

    std::string query(const std::string &statement) const {
        return support::DatabaseServer::ofProcess().run(there_, statement);
    }

    std::string url_;
};

TEST_F(CopyOnServer, AndBackIsTheSameToTheByte) {
    good({"copy", "db", "--to", url_});
    expectCopy(url_, "db");
    at(url_, {"copy", "db", "--to", there_});
    expectCopy(there_, "db");
    at(url_, {"copy", "db", "--to", url_, "--as", "other"});
    expectCopy(url_, "other");
}

TEST_F(CopyOnServer, ThatIsInterruptedLeavesNothing) {
    makeLarge();
    PipedProgram program(command({"copy", "large", "--to", url_}));
    while (query("select count(*) from zdbs.collection") == "0") {
    }
    expectInterrupted(program);
    EXPECT_EQ(at(url_, {"list", "--json"}), "[]\n");
    EXPECT_EQ(query("select count(*) from pg_namespace where nspname ~ '^z[0-9]'"), "0");
}
#endif

}  // namespace
}  // namespace zdbs
