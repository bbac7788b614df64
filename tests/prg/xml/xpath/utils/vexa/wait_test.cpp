/**
 * How long the shell waits before it tries an input at its end again. This program has a poll() of
 * its own, which notes how long it is told to wait, lets the input grow, and does not wait.
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <fstream>
#include <string>
#include <vector>

#include "prg/xml/xpath/utils/vexa/vexa.h"
#include "tests/support/temporary_directory.h"

namespace {

std::vector<int> waits;
std::string growingFile;
std::vector<std::string> growth;  // taken from the end

}  // namespace

extern "C" int poll(pollfd *, nfds_t, int timeout) {
    waits.push_back(timeout);
    if (!growth.empty()) {
        std::ofstream(growingFile, std::ios::app) << growth.back() << std::flush;
        growth.pop_back();
    }
    return 0;
}

namespace {

using ::testing::ElementsAre;

TEST(WaitForInput, getsLongerWithEveryEndInARowAndStartsAnewAfterALine) {
    const support::TemporaryDirectory directory;
    growingFile = directory.write("batch.txt", "a\n");
    growth = {"d;\n", "", "", "c\n", "", "", "b\n", "", "", "", "", ""};
    Vexa vexa("ann", "secret", false, "host", nullptr);
    ASSERT_TRUE(vexa.setUseInput(true, growingFile.c_str(), false));
    CStringBuffer statement;
    ASSERT_TRUE(vexa.readStatement(statement));
    EXPECT_STREQ(statement.getBufferPointer(), "a\nb\nc\nd");
    // The first end in a row is followed by another try at once.
    EXPECT_THAT(waits, ElementsAre(100, 200, 400, 800, 1000, 1000, 100, 200, 400, 100, 200, 400));
}

}  // namespace
