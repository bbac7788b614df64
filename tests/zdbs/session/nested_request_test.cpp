/** Requests inside the kernel, through the real translation. */
#include "zdbs/session/nested_request.h"

#include <gtest/gtest.h>

#include "kernel/zdbs.h"
#include "tests/zdbs/session/fake_engine.h"
#include "zdbs/session/active_session.h"
#include "zdbs/session/session.h"

namespace zdbs {
namespace {

using testing::FakeEngine;

class NestedRequestTest : public ::testing::Test {
protected:
    NestedRequestTest() {
        // 1 a, 2 @x, 3 b, 4 text, 5 b, 6 text
        engine_->store("plays", "<a x='row'><b>row, row</b><b>boat</b></a>");
        engine_->grant("reader", "plays");
        session_ = std::make_unique<Session>(engine_, "reader", "secret");
    }

    std::vector<NodeId> matches(const std::string &request) {
        return runNestedRequest(*session_, request).matches;
    }

    std::string failure(const std::string &request) {
        try {
            runNestedRequest(*session_, request);
        } catch (const Failure &failure) {
            return failure.what();
        }
        return "no failure";
    }

    std::string ranges(const RequestAnswer &answer, NodeId node) {
        std::string text;
        for (HitRange range : answer.hits->find(node)) {
            text += std::to_string(range.offset) + "+" + std::to_string(range.length) + " ";
        }
        return text;
    }

    std::shared_ptr<FakeEngine> engine_ = std::make_shared<FakeEngine>();
    std::unique_ptr<Session> session_;
};

TEST_F(NestedRequestTest, AnswersTheMatchesAscending) {
    session_->execute("BASE plays");
    EXPECT_EQ(matches("//b"), (std::vector<NodeId>{3, 5}));
    EXPECT_EQ(matches("/a"), (std::vector<NodeId>{1}));
    EXPECT_EQ(matches("//b[text()='boat']"), (std::vector<NodeId>{5}));
    EXPECT_EQ(matches("//nothing"), (std::vector<NodeId>{}));
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
    RequestAnswer answer = runNestedRequest(*session_, "//b[contains(text(),'row')]");
    EXPECT_EQ(answer.matches, (std::vector<NodeId>{3}));
    EXPECT_EQ(ranges(answer, 4), "0+3 5+3 ");
    EXPECT_EQ(ranges(answer, 2), "") << "attributes were not searched";
    EXPECT_EQ(ranges(answer, 3), "");
    EXPECT_EQ(ranges(answer, 6), "");
}

TEST_F(NestedRequestTest, MarksTheWholeValueOfOtherRelations) {
    session_->execute("BASE plays");
    RequestAnswer equal = runNestedRequest(*session_, "//b[text()='boat']");
    EXPECT_EQ(ranges(equal, 6), "0+4 ");
    RequestAnswer attribute = runNestedRequest(*session_, "//a[@x!='boat']");
    EXPECT_EQ(attribute.matches, (std::vector<NodeId>{1}));
    EXPECT_EQ(ranges(attribute, 2), "0+3 ");
    EXPECT_EQ(ranges(attribute, 6), "");
}

TEST_F(NestedRequestTest, MarksNothingWhereNoValueWasSearched) {
    session_->execute("BASE plays");
    RequestAnswer answer = runNestedRequest(*session_, "//b");
    for (NodeId node = 1; node <= 6; ++node)
        EXPECT_EQ(ranges(answer, node), "");
}

TEST_F(NestedRequestTest, SeesTheNewestStateAndKeepsItForItsAnswer) {
    session_->execute("BASE plays");
    engine_->store("plays", "<a><b/><b/><b/></a>");
    RequestAnswer answer = runNestedRequest(*session_, "//b");
    EXPECT_EQ(answer.matches.size(), 3U);
    engine_->store("plays", "<c/>");
    session_->saveStatus();
    EXPECT_EQ(answer.nodes->name(answer.matches[0]).local, "b");
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
    EXPECT_EQ(matches("//*[text()='\xE2\x82\xAC']"), (std::vector<NodeId>{1}));
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
    EXPECT_EQ(contains.matches(), (std::vector<NodeId>{3}));
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

}  // namespace
}  // namespace zdbs
