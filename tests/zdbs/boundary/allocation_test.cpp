/** Memory that runs out, allocation by allocation: every call fails with a status, or works. */
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "kernel/zdbs.h"
#include "tests/support/failing_allocation.h"
#include "tests/zdbs/session/fake_engine.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "zdbs/session/active_session.h"
#include "zdbs/session/session.h"

namespace zdbs {

using namespace embedded;
namespace {

constexpr std::int32_t outOfMemory = 4;

/** On nodes by number, and by path. */
class AllocationTest : public ::testing::TestWithParam<bool> {
protected:
    AllocationTest() {
        if (GetParam()) {
            engine_->store("plays", std::shared_ptr<const NodeTable>(byPath_));
        } else {
            engine_->store("plays", xml);
        }
        engine_->grant("reader", "plays");
        session_ = std::make_unique<Session>(engine_, "reader", "secret");
        session_->execute("BASE plays");
        active_.emplace(session_.get());
    }

    /**
     * Lets the first, the second, ... allocation of a call fail, until it gets through; nothing is
     * lost on the way, but for what is made once and kept.
     */
    template <typename Call>
    void failEach(Call call, const char *what, long keptForGood = 12) {
        const long before = support::liveBlocks();
        long live = before;
        long count = 0;
        for (std::int32_t status = 0; (status & 1) == 0; ++count) {
            live = support::liveBlocks();
            support::limitAllocations(count);
            status = call();
            support::limitAllocations(-1);
            bool isExpected = (status & 1) != 0 || status == outOfMemory;
            ASSERT_TRUE(isExpected) << what << ": status " << status << " at " << count;
            ASSERT_LT(count, 100000);
        }
        EXPECT_LE(live, before + keptForGood) << what;
        EXPECT_EQ(session_->settings().findMin, 1);
    }

    static constexpr const char *xml = "<a x='1'><b>row row</b><b>boat</b></a>";

    const testing::MemoryNodeTable nodes_ = testing::tableFromXml(xml);
    std::shared_ptr<const testing::MemoryPathTable> byPath_ =
        std::make_shared<testing::MemoryPathTable>(nodes_);
    std::shared_ptr<testing::FakeEngine> engine_ = std::make_shared<testing::FakeEngine>();
    std::unique_ptr<Session> session_;
    std::optional<ActiveSession> active_;
};

TEST_P(AllocationTest, FailsCommandsAndLeavesTheSetsAlone) {
    for (const char *command :
         {"FIND N_NAME=\"b\"", "FIND XPATH(child,0,2,2)", "FIND XPATH(SELF,3,3,1,GT,1)",
          "FIND N_TYPE=TEXT AND.T N_TVALUE=$row$", "FIND (S=1 OR S=2) AND S=3 NOT S=5",
          "FIND XPATH(following-sibling,3,3,1) OR N_ID=1", "FIND XPATH(descendant-or-self,1,3,1)",
          "DELETE S=2, S=3", "RENUMBER", "BASE plays", "DEFINE HITS"}) {
        std::int32_t before = session_->lastSearch().number;
        bool makesSet =
            std::strncmp(command, "FIND", 4) == 0 || std::strncmp(command, "BASE", 4) == 0;
        failEach([&] { return ZdbExecuteCcl(command, nullptr); }, command);
        if (!makesSet) continue;
        EXPECT_EQ(session_->lastSearch().number, before + 1) << command;
    }
}

TEST_P(AllocationTest, FailsTheOtherCallsToo) {
    session_->execute("FIND N_TVALUE=$row$");
    std::int32_t number = 0;
    std::int32_t set = 2;
    std::int32_t record = 0;
    char text[64];
    ZdbHandle control = nullptr;
    failEach([&] { return ZdbGetSearch(&number, &number, &number); }, "ZdbGetSearch");
    failEach([&] { return ZdbBaseInfo("plays", 1, text, &number); }, "ZdbBaseInfo");
    failEach([] { return ZdbSaveStatus(); }, "ZdbSaveStatus");
    failEach([] { return ZdbLoadStatus(1); }, "ZdbLoadStatus");
    failEach([&] { return ZdbCreateRecordControl(&control); }, "ZdbCreateRecordControl");
    failEach([&] { return ZdbGetRecordInSearchRis(control, &set, 1, &record, text); },
             "ZdbGetRecordInSearchRis");
    EXPECT_EQ(record, 4);
    failEach([&] { return ZdbDeleteRecordControl(&control); }, "ZdbDeleteRecordControl");
}

TEST_P(AllocationTest, CarriesAllSetsOverToANewStateOrNone) {
    session_->execute("FIND N_TYPE=TEXT");
    session_->execute("FIND N_TVALUE=$row$");
    const auto contents = [this] {
        std::string text;
        for (std::int32_t set = 1; set <= 3; ++set) {
            std::int32_t ordinal = 0;
            try {
                while (true)
                    text += std::to_string(session_->record(set, ++ordinal).record) + " ";
            } catch (const Failure &) {
                text += "; ";
            }
        }
        return text;
    };
    const std::string before = contents();
    ASSERT_EQ(before, "1 2 3 4 5 6 ; 4 6 ; 4 ; ");
    engine_->store("plays", std::string("<a><b>row</b></a>"));
    long limit = 0;
    for (std::int32_t status = 0; (status & 1) == 0; ++limit) {
        support::limitAllocations(limit);
        status = ZdbSaveStatus();
        support::limitAllocations(-1);
        const bool failed = (status & 1) == 0;
        ASSERT_TRUE(!failed || contents() == before) << limit;
    }
    EXPECT_GT(limit, 9);
    EXPECT_EQ(contents(), "1 2 3 ; ; ; ");
}

TEST_P(AllocationTest, FailsExportsAndLeavesSetsAndSettingsAlone) {
    char arguments[] = "XPATHQUERY=//b[contains(text(),'row')]\nXPATHFRAGMENTS=/\n";
    FilterData data;
    auto call = [&] {
        std::memset(&data, 0, sizeof data);
        std::strcpy(data.filter_name, "zarnxmlquery");
        data.filter_arguments = arguments;
        data.arg_length = static_cast<std::int32_t>(std::strlen(arguments));
        data.filter_options = ZDB_FILTER_HIGHLIGHT;
        return ZdbExport(&data);
    };
    constexpr long blocksOfParsedCommands = 40;
    for (const long kept : {blocksOfParsedCommands, 0L}) {
        failEach(call, "ZdbExport", kept);
        ASSERT_NE(data.buffer, nullptr);
        std::free(data.buffer);
    }
    EXPECT_EQ(session_->lastSearch().number, 1);
    EXPECT_FALSE(session_->isNested());
    EXPECT_EQ(activeSession(), session_.get());
}

TEST_P(AllocationTest, OfMessagesFailsWithoutACrash) {
    char text[64];
    std::int32_t length = sizeof text;
    ZdbExecuteCcl("FIND N_FOO=1", nullptr);
    failEach(
        [&] {
            length = sizeof text;
            return ZdbMessage(106, text, &length);
        },
        "ZdbMessage");
    EXPECT_STREQ(text, "Unknown field N_FOO at column 6.");
}

TEST_P(AllocationTest, TakesTheGeneralSentenceWhereThereIsNoMemoryForDetails) {
    bool isFailure = true;
    for (long count = 0; isFailure; ++count) {
        support::limitAllocations(count);
        std::int32_t status = ZdbExecuteCcl("FIND N_FOO=1", nullptr);
        support::limitAllocations(-1);
        isFailure = status == outOfMemory;
        char text[64];
        std::int32_t length = sizeof text;
        ASSERT_EQ(ZdbMessage(status, text, &length) & 1, 1);
        ASSERT_STREQ(text, isFailure ? "Not enough memory." : text);
    }
}

INSTANTIATE_TEST_SUITE_P(, AllocationTest, ::testing::Bool(),
                         [](const auto &test) { return test.param ? "ByPath" : "ByNumber"; });

}  // namespace
}  // namespace zdbs
