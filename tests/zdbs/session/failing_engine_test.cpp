/** What can fail, fails in the command: the most recent set is told of without failing. */
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/zdbs/session/failing_engine.h"
#include "zdbs/session/session.h"

namespace zdbs {
namespace {

using testing::Failing;

constexpr const char *message = "The home in a place is damaged: a test says so.";

class FailingEngineTest : public ::testing::Test {
protected:
    FailingEngineTest() {
        execute("BASE plays");
        execute("DEFINE FIND MIN=0");
    }

    /** Its failure; "" when there is none. */
    std::string execute(const std::string &command) {
        try {
            session_.execute(command);
            return {};
        } catch (const Failure &failure) {
            return failure.what();
        }
    }

    std::string saveStatus() {
        try {
            session_.saveStatus();
            return {};
        } catch (const Failure &failure) {
            return failure.what();
        }
    }

    /** Number, records and hits of the most recent set. */
    std::string last() const {
        const LastSearch search = session_.lastSearch();
        return "S" + std::to_string(search.number) + " " + std::to_string(search.records) + " " +
               std::to_string(search.hits);
    }

    std::shared_ptr<testing::FailingEngine> engine_ = std::make_shared<testing::FailingEngine>();
    Session session_{engine_, "reader", "secret"};
};

TEST_F(FailingEngineTest, MakesNoSetThatCannotBeCounted) {
    for (const Failing failing : {Failing::evaluate, Failing::size, Failing::hits}) {
        engine_->failing = failing;
        EXPECT_EQ(execute("FIND N_ID=$"), message);
        EXPECT_EQ(execute("BASE plays"), message);
        EXPECT_EQ(last(), "S1 10 12");
    }
    engine_->failing = Failing::nothing;
    EXPECT_EQ(execute("FIND N_ID=$"), "");
    EXPECT_EQ(last(), "S2 10 12") << "no number was lost";
}

TEST_F(FailingEngineTest, MakesNoSetThatCannotBeCountedForAnObserverEither) {
    int seen = 0;
    session_.observe([&](const ExecutedFind &) { ++seen; });
    for (const Failing failing : {Failing::evaluate, Failing::size, Failing::hits}) {
        engine_->failing = failing;
        EXPECT_EQ(execute("FIND N_ID=$"), message);
        EXPECT_EQ(last(), "S1 10 12");
    }
    EXPECT_EQ(seen, 0);
}

TEST_F(FailingEngineTest, TellsOfSetsThatWereMadeWithoutFailing) {
    execute("FIND N_ID=$");
    execute("FIND N_ID=$");
    execute("FIND N_ID=$");
    for (const Failing failing : {Failing::evaluate, Failing::size, Failing::hits}) {
        engine_->failing = failing;
        const std::int32_t newest = session_.lastSearch().number;
        EXPECT_EQ(execute("DELETE S=" + std::to_string(newest)), "");
        EXPECT_EQ(execute("RENUMBER"), "");
        EXPECT_EQ(last(), "S" + std::to_string(newest - 1) + " 10 12");
    }
}

TEST_F(FailingEngineTest, KeepsDatabaseAndSetsWhenAnotherDatabaseCannotBeCounted) {
    execute("FIND N_ID=$");
    for (const Failing failing : {Failing::evaluate, Failing::size, Failing::hits}) {
        engine_->failing = failing;
        EXPECT_EQ(execute("BASE more"), message);
        EXPECT_EQ(session_.databaseName(), "plays");
        EXPECT_EQ(last(), "S2 10 12");
    }
}

/** Who begins a request may not look whether that failed; then it must not be answered. */
TEST_F(FailingEngineTest, FindsNothingInAStateThatItFailedToRenew) {
    engine_->failing = Failing::refresh;
    EXPECT_EQ(saveStatus(), message);
    EXPECT_EQ(execute("FIND N_ID=$"), message);
    EXPECT_EQ(execute("FIND N_ID=$"), message);
    EXPECT_EQ(last(), "S1 10 12");
    engine_->failing = Failing::nothing;
    EXPECT_EQ(execute("FIND N_ID=$"), "");
    EXPECT_EQ(last(), "S2 10 12");
    engine_->failing = Failing::refresh;
    EXPECT_EQ(execute("FIND N_ID=$"), "") << "one request sees one state";
    EXPECT_EQ(execute("BASE plays"), message);
    EXPECT_EQ(execute("BASE more"), "");
    EXPECT_EQ(execute("FIND N_ID=$"), "") << "another database has nothing to renew";
}

}  // namespace
}  // namespace zdbs
