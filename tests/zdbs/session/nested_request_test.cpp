/** Requests inside the kernel, through the real translation. */
#include "zdbs/session/nested_request.h"

#include <gtest/gtest.h>

#include <thread>

#include "kernel/zdbs.h"
#include "tests/zdbs/session/fake_engine.h"
#include "tests/zdbs/support/told.h"
#include "zdbs/session/active_session.h"
#include "zdbs/session/session.h"

namespace zdbs {
namespace {

using testing::FakeEngine;
using testing::recordsOf;
using testing::ToldHits;

using Hits = std::map<RecordId, std::string>;

class NestedRequestTest : public ::testing::Test {
protected:
    NestedRequestTest() {
        // 1 a, 2 @x, 3 b, 4 text, 5 b, 6 text
        engine_->store("plays", "<a x='row'><b>row, row</b><b>boat</b></a>");
        engine_->grant("reader", "plays");
        session_ = std::make_unique<Session>(engine_, "reader", "secret");
    }

    static std::vector<RecordId> matches(const RequestAnswer &answer) {
        return recordsOf(answer.database, *answer.matches);
    }

    std::vector<RecordId> matches(const std::string &request) {
        return matches(runNestedRequest(*session_, request));
    }

    std::string failure(const std::string &request) {
        try {
            runNestedRequest(*session_, request);
        } catch (const Failure &failure) {
            return failure.what();
        }
        return "no failure";
    }

    std::map<RecordId, std::string> hits(const std::string &request) {
        const RequestAnswer answer = runNestedRequest(*session_, request);
        return ToldHits::of(answer.database, answer.made);
    }

    std::shared_ptr<FakeEngine> engine_ = std::make_shared<FakeEngine>();
    std::unique_ptr<Session> session_;
};

TEST_F(NestedRequestTest, AnswersTheMatchesAscending) {
    session_->execute("BASE plays");
    EXPECT_EQ(matches("//b"), (std::vector<RecordId>{3, 5}));
    EXPECT_EQ(matches("/a"), (std::vector<RecordId>{1}));
    EXPECT_EQ(matches("//b[text()='boat']"), (std::vector<RecordId>{5}));
    EXPECT_EQ(matches("//nothing"), (std::vector<RecordId>{}));
}

TEST_F(NestedRequestTest, LeavesSetsSettingsAndTheActiveSessionAsTheyWere) {
    session_->execute("BASE plays");
    session_->execute("FIND N_NAME=\"b\"");
    matches("//b[text()='boat']");
    failure("//b[");
    EXPECT_EQ(session_->lastSearch().number, 2);
    EXPECT_EQ(session_->lastSearch().records, 2);
    EXPECT_EQ(session_->settings().findMin, 1);
    EXPECT_FALSE(session_->settings().hits);
    EXPECT_FALSE(session_->isNested());
    EXPECT_EQ(activeSession(), nullptr);
    EXPECT_THROW(session_->loadStatus(), Failure) << "what a nested request saves is its own";
}

TEST_F(NestedRequestTest, KeepsTheSettingsThatWereSavedOutside) {
    session_->execute("BASE plays");
    session_->saveStatus();
    session_->execute("DEFINE FIND MIN=0");
    matches("//b");
    EXPECT_EQ(session_->settings().findMin, 0);
    session_->loadStatus();
    EXPECT_EQ(session_->settings().findMin, 1);
}

TEST_F(NestedRequestTest, MarksEachOccurrenceOfWhatIsContained) {
    session_->execute("BASE plays");
    EXPECT_EQ(matches("//b[contains(text(),'row')]"), (std::vector<RecordId>{3}));
    EXPECT_EQ(hits("//b[contains(text(),'row')]"), (Hits{{4, "0+3 5+3 "}}))
        << "attributes were not searched";
}

TEST_F(NestedRequestTest, MarksTheWholeValueOfOtherRelations) {
    session_->execute("BASE plays");
    EXPECT_EQ(hits("//b[text()='boat']"), (Hits{{6, "0+4 "}}));
    EXPECT_EQ(matches("//a[@x!='boat']"), (std::vector<RecordId>{1}));
    EXPECT_EQ(hits("//a[@x!='boat']"), (Hits{{2, "0+3 "}}));
}

TEST_F(NestedRequestTest, MarksNothingWhereNoValueWasSearched) {
    session_->execute("BASE plays");
    EXPECT_EQ(hits("//b"), Hits());
}

TEST_F(NestedRequestTest, SeesTheNewestState) {
    session_->execute("BASE plays");
    engine_->store("plays", "<a><b/><b/><b/></a>");
    EXPECT_EQ(matches("//b").size(), 3U);
    engine_->store("plays", "<c/>");
    EXPECT_EQ(matches("//b").size(), 0U);
}

TEST_F(NestedRequestTest, FailsWithoutADatabase) {
    EXPECT_EQ(failure("//b"), "No database is open; open one with BASE.");
}

TEST_F(NestedRequestTest, FailsWithTheMessageOfTheTranslation) {
    session_->execute("BASE plays");
    EXPECT_EQ(failure("//b[text()='']"),
              "The request failed: Specified comparison operator is not supported for emptry "
              "strings.");
    EXPECT_EQ(failure("//b[").substr(0, 20), "The request failed: ");
    EXPECT_EQ(failure("").substr(0, 20), "The request failed: ");
    EXPECT_EQ(failure("//b"), "no failure");
}

TEST_F(NestedRequestTest, TakesTheRequestAsUtf8) {
    engine_->store("plays", "<\xC3\xA4>\xE2\x82\xAC</\xC3\xA4>");
    session_->execute("BASE plays");
    EXPECT_EQ(matches("//*[text()='\xE2\x82\xAC']"), (std::vector<RecordId>{1}));
}

TEST_F(NestedRequestTest, RefusesARequestWithANul) {
    session_->execute("BASE plays");
    EXPECT_EQ(failure(std::string("//b\0[c]", 7)), "The request failed: it holds a NUL character.");
}

TEST_F(NestedRequestTest, TellsNumbersWithoutMakingLists) {
    session_->execute("BASE plays");
    const NestedRequest contains(*session_, "//b[contains(text(),'row')]");
    EXPECT_EQ(contains.records(), 1);
    EXPECT_GE(contains.hits(), 1);
    const auto cursor = contains.matches();
    const std::span<const RecordId> first = cursor->next();
    EXPECT_EQ(std::vector<RecordId>(first.begin(), first.end()), (std::vector<RecordId>{3}));
    EXPECT_TRUE(cursor->next().empty());
    const NestedRequest inside(*session_, "//b");
    EXPECT_EQ(inside.records(), 2);
    EXPECT_EQ(inside.hits(), 2);
}

TEST_F(NestedRequestTest, SeesTheStateOfTheScopeThatItRunsIn) {
    session_->execute("BASE plays");
    {
        const NestedScope oneState(*session_);
        EXPECT_EQ(matches("//b").size(), 2U);
        engine_->store("plays", "<b/>");
        EXPECT_EQ(matches("//b").size(), 2U);
    }
    EXPECT_EQ(matches("//b").size(), 1U);
}

TEST_F(NestedRequestTest, LeavesOneSetInTheScopeThatItIsToldToUse) {
    session_->execute("BASE plays");
    const NestedScope scope(*session_);
    const RequestSet first = runRequest(*session_, "/a/b[1]");
    EXPECT_EQ(first.number, 1);
    EXPECT_GT(first.foundAs, 1);
    EXPECT_EQ(scope.set(1)->size(), 1);
    EXPECT_EQ(runRequest(*session_, "//nothing").number, 2);
    EXPECT_EQ(scope.set(2)->size(), 0);
    EXPECT_EQ(session_->lastSearch().number, 2);
    EXPECT_THROW(runRequest(*session_, "//b["), Failure);
    EXPECT_EQ(session_->lastSearch().number, 2);
}

TEST_F(NestedRequestTest, RunsWhileACallersSessionIsActive) {
    session_->execute("BASE plays");
    Session other(engine_, "reader", "secret");
    ActiveSession active(&other);
    EXPECT_EQ(matches("//b").size(), 2U);
    EXPECT_EQ(activeSession(), &other);
}

/** Each thread has a session of its own, and what fails in one is not told in another. */
TEST_F(NestedRequestTest, RunsInSeveralThreadsAtOnce) {
    const auto askOften = [this](const std::string &request, const std::string &unknown,
                                 std::size_t count) {
        Session session(engine_, "reader", "secret");
        session.execute("BASE plays");
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(matches(runNestedRequest(session, request)).size(), count) << request;
            try {
                runNestedRequest(session, "//b[" + unknown + "(.)]");
                ADD_FAILURE() << unknown;
            } catch (const Failure &failure) {
                const std::string sentence = failure.what();
                EXPECT_NE(sentence.find('"' + unknown + '"'), std::string::npos) << sentence;
            }
        }
    };
    std::vector<std::thread> threads;
    threads.emplace_back(askOften, "//b", "foo", 2);
    threads.emplace_back(askOften, "//b[text()='boat']", "bar", 1);
    threads.emplace_back(askOften, "/a", "baz", 1);
    for (std::thread &thread : threads)
        thread.join();
}

}  // namespace
}  // namespace zdbs
