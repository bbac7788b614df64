#include "zdbs/session/session.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/zdbs/session/fake_engine.h"
#include "tests/zdbs/support/one_part.h"
#include "zdbs/session/nested_scope.h"

namespace zdbs {

using namespace embedded;
namespace {

using testing::FakeEngine;

/** The sentence of what something throws; "no failure" when it does not. */
template <typename Work>
std::string failureOf(Work work) {
    try {
        work();
    } catch (const Failure &failure) {
        return failure.what();
    }
    return "no failure";
}

class SessionTest : public ::testing::Test {
protected:
    SessionTest() {
        engine_->store("plays", "<a x='1'><b/><b/></a>");  // 1 a, 2 @x, 3 b, 4 b
        engine_->store("more", "<c/>");
        engine_->store("hidden", "<d/>");
        engine_->grant("reader", "plays");
        engine_->grant("reader", "more");
        session_ = std::make_unique<Session>(engine_, "reader", "secret");
    }

    void execute(const std::vector<std::string> &commands) {
        for (const std::string &command : commands)
            session_->execute(command);
    }

    std::string failure(const std::string &command) {
        return failureOf([&] { session_->execute(command); });
    }

    /** The most recent set as "S2: 3 records, 4 hits". */
    std::string last() {
        try {
            LastSearch search = session_->lastSearch();
            std::ostringstream text;
            text << "S" << search.number << ": " << search.records << " records, " << search.hits
                 << " hits";
            return text.str();
        } catch (const Failure &failure) {
            return failure.what();
        }
    }

    std::shared_ptr<FakeEngine> engine_ = std::make_shared<FakeEngine>();
    std::unique_ptr<Session> session_;
};

TEST_F(SessionTest, FailsAlikeForAnUnknownUserAndAWrongPassword) {
    auto login = [&](const char *user, const char *password) {
        return failureOf([&] { Session(engine_, user, password); });
    };
    EXPECT_EQ(login("reader", "secret"), "no failure");
    EXPECT_EQ(login("reader", "wrong"), "The user is unknown or the password is wrong.");
    EXPECT_EQ(login("nobody", "secret"), login("reader", "wrong"));
    EXPECT_EQ(login("", ""), login("reader", "wrong"));
}

TEST_F(SessionTest, HasNoSetAndNoDatabaseAtFirst) {
    EXPECT_EQ(last(), "There is no set.");
    EXPECT_EQ(failure("FIND N_ID=$"), "No database is open; open one with BASE.");
    EXPECT_EQ(failure("FIND S=1"), "No database is open; open one with BASE.");
    EXPECT_EQ(failure("DELETE S=1"), "There is no such set: S=1 at column 8.");
    EXPECT_EQ(failure("RENUMBER"), "no failure");
    EXPECT_EQ(failure("DEFINE FIND MIN=0"), "no failure");
    EXPECT_EQ(failureOf([&] { session_->databaseName(); }),
              "No database is open; open one with BASE.");
    EXPECT_EQ(failureOf([&] { session_->record(1, 1); }), "There is no such set: S=1.");
}

TEST_F(SessionTest, OpensADatabaseWithASetOfEveryNode) {
    execute({"BASE plays"});
    EXPECT_EQ(last(), "S1: 4 records, 4 hits");
    EXPECT_EQ(session_->databaseName(), "plays");
}

TEST_F(SessionTest, OpensOnlyWhatIsGranted) {
    EXPECT_EQ(failure("BASE nothing"), "There is no such database: nothing.");
    EXPECT_EQ(failure("BASE hidden"), "There is no such database: hidden.");
    EXPECT_TRUE(session_->hasDatabase("plays"));
    EXPECT_FALSE(session_->hasDatabase("hidden"));
    EXPECT_FALSE(session_->hasDatabase("nothing"));
}

TEST_F(SessionTest, NumbersASetOneAboveTheHighestPresent) {
    execute({"BASE plays", "FIND N_NAME=\"b\"", "FIND N_ID=1"});
    EXPECT_EQ(last(), "S3: 1 records, 1 hits");
    execute({"DELETE S=1", "FIND N_ID=2"});
    EXPECT_EQ(last(), "S4: 1 records, 1 hits");
    execute({"DELETE S=3, S=4", "FIND N_ID=3"});
    EXPECT_EQ(last(), "S3: 1 records, 1 hits");
    execute({"BASE plays"});
    EXPECT_EQ(last(), "S4: 4 records, 4 hits");
}

TEST_F(SessionTest, ReportsTheMostRecentSetThatIsLeft) {
    execute({"BASE plays", "FIND N_NAME=\"b\"", "FIND N_ID=1", "DELETE S=3"});
    EXPECT_EQ(last(), "S2: 2 records, 2 hits");
    execute({"DELETE S=2", "DELETE S=1"});
    EXPECT_EQ(last(), "There is no set.");
    execute({"FIND N_ID=1"});
    EXPECT_EQ(last(), "S1: 1 records, 1 hits");
}

TEST_F(SessionTest, ClosesTheGapsWhenItRenumbers) {
    execute({"BASE plays", "FIND N_ID=1", "FIND N_NAME=\"b\"", "FIND N_ID<4", "DELETE S=1,S=3",
             "RENUMBER"});
    EXPECT_EQ(last(), "S2: 3 records, 3 hits");
    execute({"FIND S=1"});
    EXPECT_EQ(last(), "S3: 1 records, 1 hits") << "S1 is what was S2";
    EXPECT_EQ(failure("FIND S=4"), "There is no such set: S=4 at column 6.");
}

TEST_F(SessionTest, DeletesAllOfAListOrNone) {
    execute({"BASE plays", "FIND N_ID=1"});
    EXPECT_EQ(failure("DELETE S=1, S=7"), "There is no such set: S=7 at column 13.");
    EXPECT_EQ(failure("DELETE S=0"), "There is no such set: S=0 at column 8.");
    EXPECT_EQ(failure("FIND S=1"), "no failure");
    EXPECT_EQ(failure("DELETE S=1, S=1"), "no failure");
    EXPECT_EQ(failure("DELETE S=1"), "There is no such set: S=1 at column 8.");
}

TEST_F(SessionTest, DropsTheSetsWhenAnotherDatabaseIsOpened) {
    execute({"BASE plays", "FIND N_ID=1", "BASE more"});
    EXPECT_EQ(last(), "S1: 1 records, 1 hits");
    EXPECT_EQ(session_->databaseName(), "more");
    EXPECT_EQ(failure("FIND S=2"), "There is no such set: S=2 at column 6.");
}

TEST_F(SessionTest, KeepsTheSetsWhenTheSameDatabaseIsOpenedOrOneThatIsNotThere) {
    execute({"BASE plays", "FIND N_ID=1", "BASE plays"});
    EXPECT_EQ(last(), "S3: 4 records, 4 hits");
    EXPECT_EQ(failure("BASE nothing"), "There is no such database: nothing.");
    EXPECT_EQ(last(), "S3: 4 records, 4 hits");
    EXPECT_EQ(session_->databaseName(), "plays");
    EXPECT_EQ(failure("FIND S=2"), "no failure");
}

TEST_F(SessionTest, MakesNoSetOfASearchWithoutHits) {
    execute({"BASE plays"});
    EXPECT_EQ(failure("FIND N_ID=99"), "The search has no hits.");
    EXPECT_EQ(last(), "S1: 4 records, 4 hits");
}

TEST_F(SessionTest, MakesAnEmptySetWhenItIsToldTo) {
    execute({"BASE plays", "DEFINE FIND MIN=0", "FIND N_ID=99"});
    EXPECT_EQ(last(), "S2: 0 records, 0 hits");
    execute({"FIND S=2 OR N_ID=1", "DEFINE FIND MIN=1"});
    EXPECT_EQ(last(), "S3: 1 records, 1 hits");
    EXPECT_EQ(failure("FIND S=2"), "The search has no hits.");
}

TEST_F(SessionTest, MakesASetEvenOfFewRecordsUnderAnyMinimum) {
    execute({"BASE plays", "DEFINE FIND MIN=3", "FIND N_ID=1"});
    EXPECT_EQ(last(), "S2: 1 records, 1 hits");
    EXPECT_EQ(failure("FIND N_ID=99"), "The search has no hits.");
}

TEST_F(SessionTest, SavesAndRestoresTheSettingsAndNotTheSets) {
    execute({"BASE plays"});
    EXPECT_EQ(failureOf([&] { session_->loadStatus(); }), "No settings have been saved.");
    session_->saveStatus();
    execute({"DEFINE HITS", "DEFINE FIND MIN=0", "FIND N_ID=99"});
    EXPECT_TRUE(session_->settings().hits);
    EXPECT_EQ(session_->settings().findMin, 0);
    session_->loadStatus();
    EXPECT_FALSE(session_->settings().hits);
    EXPECT_EQ(session_->settings().findMin, 1);
    EXPECT_EQ(last(), "S2: 0 records, 0 hits");
    EXPECT_EQ(failure("FIND N_ID=99"), "The search has no hits.");
    session_->loadStatus();
    EXPECT_EQ(session_->settings().findMin, 1);
}

TEST_F(SessionTest, LeavesEverythingAsItIsWhenACommandFails) {
    execute({"BASE plays", "DEFINE FIND MIN=0"});
    for (const char *command : {"", "FOO", "FIND", "FIND N_FOO=1", "FIND S=9", "DELETE S=9",
                                "DEFINE FIND MIN=-1", "BASE", "RENUMBER now"}) {
        EXPECT_NE(failure(command), "no failure") << command;
    }
    EXPECT_EQ(last(), "S1: 4 records, 4 hits");
    EXPECT_EQ(session_->settings().findMin, 0);
}

TEST_F(SessionTest, CountsHits) {
    engine_->store("plays", "<a>row row<b>row</b>boat</a>");
    execute({"BASE plays", "FIND N_TVALUE=$row$"});
    EXPECT_EQ(last(), "S2: 2 records, 3 hits");
    EXPECT_EQ(last(), "S2: 2 records, 3 hits");
    execute({"FIND N_TYPE=ELEMENT"});
    EXPECT_EQ(last(), "S3: 2 records, 2 hits");
}

TEST_F(SessionTest, YieldsRecordsInDocumentOrderWithTheirHitWords) {
    engine_->store("plays", {{"one", "<a>row row</a>"}, {"two", "<a>boat</a><!--row-->"}});
    execute({"BASE plays", "FIND N_TVALUE=$row$"});
    SetRecord first = session_->record(2, 1);
    EXPECT_EQ(first.record, 2U);
    ASSERT_EQ(first.hitWords.size(), 2U);
    EXPECT_EQ(first.hitWords[1].word, 2);
    SetRecord second = session_->record(2, 2);
    EXPECT_EQ(second.record, 5U);
    ASSERT_EQ(second.hitWords.size(), 1U);
    EXPECT_EQ(second.hitWords[0].part, 2);
    EXPECT_EQ(failureOf([&] { session_->record(2, 3); }), "The set has no such record: 3.");
    EXPECT_EQ(failureOf([&] { session_->record(2, 0); }), "The set has no such record: 0.");
    EXPECT_EQ(failureOf([&] { session_->record(2, -1); }), "The set has no such record: -1.");
    EXPECT_EQ(failureOf([&] { session_->record(7, 1); }), "There is no such set: S=7.");
    EXPECT_EQ(failureOf([&] { session_->record(0, 1); }), "There is no such set: S=0.");
}

TEST_F(SessionTest, SeesLaterLoadsFromTheNextRequestOn) {
    execute({"BASE more"});
    engine_->store("more", "<c><d/></c>");
    execute({"FIND N_ID=$"});
    EXPECT_EQ(last(), "S2: 1 records, 1 hits") << "one request sees one state";
    session_->saveStatus();
    EXPECT_EQ(last(), "S2: 1 records, 1 hits");
    execute({"FIND N_ID=$"});
    EXPECT_EQ(last(), "S3: 2 records, 2 hits");
}

TEST_F(SessionTest, SeesLaterLoadsFromTheNextBaseOn) {
    execute({"BASE more"});
    engine_->store("more", "<c><d/></c>");
    execute({"BASE more"});
    EXPECT_EQ(last(), "S2: 2 records, 2 hits");
}

TEST_F(SessionTest, DropsFromItsSetsWhatIsGone) {
    execute({"BASE plays", "FIND N_NAME=\"b\"", "FIND XPATH(child,0,2,2)"});
    auto table = std::make_shared<testing::MemoryNodeTable>();
    table->skipIds(3);
    table->startDocument("rest");
    table->startElement({"b"});
    table->startElement({"b"});
    table->endElement();
    table->endElement();
    table->endDocument();  // 4 b, 5 b
    engine_->store("plays", table);
    session_->saveStatus();
    EXPECT_EQ(last(), "S3: 1 records, 1 hits");
    EXPECT_EQ(session_->record(2, 1).record, 4U);
    execute({"FIND XPATH(child,2,0,2)", "FIND XPATH(SELF,3,3,1,EQ,1)"});
    EXPECT_EQ(last(), "S5: 1 records, 1 hits");
}

TEST_F(SessionTest, SeesOneStateInANestedRequestAndHasItsOwnSetsAgainAfterwards) {
    execute({"BASE more", "DEFINE FIND MIN=0"});
    engine_->store("more", "<c><d/></c>");
    {
        NestedScope scope(*session_);
        EXPECT_EQ(last(), "There is no set.");
        EXPECT_EQ(session_->settings().findMin, 1);
        execute({"FIND N_ID=$"});
        EXPECT_EQ(last(), "S1: 2 records, 2 hits") << "the newest state";
        engine_->store("more", "<c><d/><d/></c>");
        session_->saveStatus();
        execute({"FIND N_ID=$", "DELETE S=1"});
        EXPECT_EQ(last(), "S2: 2 records, 2 hits");
        EXPECT_EQ(scope.made().size(), 2U);
        EXPECT_EQ(scope.set(2)->size(), 2);
    }
    EXPECT_EQ(last(), "S1: 1 records, 1 hits");
    EXPECT_EQ(session_->settings().findMin, 0);
    session_->saveStatus();
    execute({"FIND N_ID=$"});
    EXPECT_EQ(last(), "S2: 3 records, 3 hits");
}

TEST_F(SessionTest, ClosesADatabaseThatIsNoLongerGranted) {
    execute({"BASE plays"});
    engine_->revoke("reader", "plays");
    EXPECT_EQ(failureOf([&] { session_->saveStatus(); }), "There is no such database: plays.");
    EXPECT_EQ(failure("FIND N_ID=$"), "There is no such database: plays.");
    EXPECT_EQ(failure("BASE plays"), "There is no such database: plays.");
    engine_->grant("reader", "plays");
    execute({"FIND N_ID=$"});
    EXPECT_EQ(last(), "S2: 4 records, 4 hits");
}

TEST_F(SessionTest, ShowsEachSearchToAnObserver) {
    std::vector<ExecutedFind> seen;
    execute({"BASE plays"});
    session_->observe([&](const ExecutedFind &find) { seen.push_back(find); });
    execute({" FIND  N_NAME=\"b\" ", "find\nS=2", "DELETE S=1"});
    failure("FIND N_ID=99");
    session_->observe({});
    execute({"FIND S=2"});
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[0].condition, "N_NAME=\"b\" ");
    EXPECT_EQ(seen[0].set, 2);
    EXPECT_EQ(seen[0].records, 2);
    EXPECT_EQ(seen[0].plan, "summary of paths");
    EXPECT_GE(seen[0].time.count(), 0);
    EXPECT_EQ(seen[1].condition, "S=2");
    EXPECT_EQ(seen[1].set, 3);
}

TEST_F(SessionTest, OfTheOwnerHasItsDatabaseOpenAndNoOther) {
    auto table = std::make_shared<testing::MemoryNodeTable>(testing::tableFromXml("<a/>"));
    auto owner = Session::ofOwner(makeEmbeddedDatabase("mine", onePart([table] { return table; })));
    owner->execute("FIND N_ID=$");
    EXPECT_EQ(owner->lastSearch().records, 1);
    owner->execute("BASE mine");
    EXPECT_EQ(owner->lastSearch().number, 2);
    EXPECT_EQ(failureOf([&] { owner->execute("BASE plays"); }),
              "There is no such database: plays.");
}

}  // namespace
}  // namespace zdbs
