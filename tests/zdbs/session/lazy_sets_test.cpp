/** Sessions over nodes by path, where conditions are evaluated before their records are found. */
#include <gtest/gtest.h>

#include <memory>

#include "tests/zdbs/session/fake_engine.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "zdbs/session/session.h"

namespace zdbs {

using namespace embedded;
namespace {

using testing::FakeEngine;
using testing::MemoryNodeTable;
using testing::MemoryPathTable;

class LazySets : public ::testing::Test {
protected:
    LazySets() {
        store("<a x='1'><b>t</b><b>u</b></a>");  // 1 a, 2 @x, 3 b, 4 text, 5 b, 6 text
        engine_->grant("reader", "plays");
        session_ = std::make_unique<Session>(engine_, "reader", "secret");
        session_->execute("BASE plays");
    }

    void store(const std::string &xml) {
        struct Tables {
            explicit Tables(const std::string &text) : nodes(testing::tableFromXml(text)) {}

            MemoryNodeTable nodes;
            MemoryPathTable byPath{nodes};
        };
        auto tables = std::make_shared<Tables>(xml);
        engine_->store("plays", std::shared_ptr<const NodeTable>(tables, &tables->byPath));
    }

    std::string failure(const std::string &command) {
        try {
            session_->execute(command);
        } catch (const Failure &failure) {
            return failure.what();
        }
        return "no failure";
    }

    std::int32_t records() { return session_->lastSearch().records; }

    std::shared_ptr<FakeEngine> engine_ = std::make_shared<FakeEngine>();
    std::unique_ptr<Session> session_;
};

TEST_F(LazySets, FailAtOnceWithoutHits) {
    EXPECT_EQ(failure("FIND N_TVALUE=&none&"), "The search has no hits.");
    EXPECT_EQ(session_->lastSearch().number, 1);
    EXPECT_EQ(failure("FIND N_TVALUE=&t&"), "no failure");
    EXPECT_EQ(records(), 1);
}

TEST_F(LazySets, AreEmptyWithoutHitsWhereThatIsAsked) {
    session_->execute("DEFINE FIND MIN=0");
    EXPECT_EQ(failure("FIND N_TVALUE=&none&"), "no failure");
    EXPECT_EQ(session_->lastSearch().number, 2);
    EXPECT_EQ(records(), 0);
    session_->execute("FIND XPATH(parent,2,0,2)");
    EXPECT_EQ(records(), 0);
}

TEST_F(LazySets, FailAtOnceForAnUnknownSet) {
    session_->execute("DEFINE FIND MIN=0");
    const std::string column = "There is no such set: S=7 at column ";
    EXPECT_EQ(failure("FIND S=7 AND.T N_TVALUE=&t&").substr(0, column.size()), column);
    EXPECT_EQ(failure("FIND XPATH(child,1,7,2)").substr(0, column.size()), column);
    EXPECT_EQ(session_->lastSearch().number, 1);
}

/** Whose rows nobody has asked for yet. */
TEST_F(LazySets, AreOfTheStateThatTheyWereMadeIn) {
    session_->execute("DEFINE FIND MIN=0");
    session_->execute("FIND N_TVALUE=&t&");
    store("<a x='1'><b>u</b><b>t</b></a>");
    session_->saveStatus();
    EXPECT_EQ(records(), 1);
    EXPECT_EQ(session_->record(2, 1).record, 4U);
    session_->execute("FIND N_TVALUE=&t&");
    EXPECT_EQ(session_->record(3, 1).record, 6U);
}

TEST_F(LazySets, AreFoundAtOnceForAnObserver) {
    std::vector<ExecutedFind> seen;
    session_->execute("DEFINE FIND MIN=0");
    session_->observe([&](const ExecutedFind &find) { seen.push_back(find); });
    session_->execute("FIND N_TYPE=TEXT AND.T N_TVALUE=&t&");
    session_->execute("FIND N_TYPE=TEXT");
    ASSERT_EQ(seen.size(), 2U);
    EXPECT_EQ(seen[0].records, 1);
    EXPECT_EQ(seen[0].hits, 1);
    EXPECT_EQ(seen[1].records, 2);
    EXPECT_EQ(seen[1].plan, "summary of paths");
    EXPECT_GT(seen[0].plan.size(), seen[1].plan.size()) << "and how values were found";
}

}  // namespace
}  // namespace zdbs
