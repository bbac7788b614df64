/** The program `zdbs` with a home of its own. */
#ifndef TESTS_ZDBS_ADMIN_PROGRAM_FIXTURE_H
#define TESTS_ZDBS_ADMIN_PROGRAM_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/piped_program.h"
#include "tests/support/temporary_directory.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "zdbs/embedded/home/home.h"

namespace zdbs {

using namespace embedded;

class ProgramTest : public testing::Test {
protected:
    using Words = std::vector<std::string>;

    /** The command with the home of this test in its environment. */
    support::Command command(const Words &words) const {
        return {ZDBS_PROGRAM, words, {{"ZDBS_HOME", homePath_}}, {}};
    }

    support::ProgramResult run(const Words &words, const std::string &input = "") const {
        return support::run(command(words), input);
    }

    /** Runs a command that has to succeed without a word on standard error; its output. */
    std::string good(const Words &words, const std::string &input = "") const {
        const auto result = run(words, input);
        EXPECT_EQ(result.ending, support::exited(0)) << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }

    /** Runs a command that has to fail with that status, silent on standard output; its messages.
     */
    std::string bad(const Words &words, int status = 1, const std::string &input = "") const {
        const auto result = run(words, input);
        EXPECT_EQ(result.ending, support::exited(status)) << result.out << result.err;
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(result.err.starts_with("zdbs: ")) << result.err;
        return result.err;
    }

    void makeDatabase() const {
        good({"init"});
        good({"create", "db"});
    }

    std::shared_ptr<Home> home() const { return Home::open(homePath_); }

    support::TemporaryDirectory directory_;
    std::string homePath_ = directory_ / "home";
};

}  // namespace zdbs

#endif
