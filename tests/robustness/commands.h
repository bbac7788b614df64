/** The commands of the programs, and a home that each can be tried on. */
#ifndef TESTS_ROBUSTNESS_COMMANDS_H
#define TESTS_ROBUSTNESS_COMMANDS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "tests/robustness/home_fixture.h"
#include "tests/support/choices.h"

namespace robustness {

namespace fs = std::filesystem;

using support::numberIn;

/** One command; the programs have interrupt.cpp and memory_order.cpp in them. */
struct CommandCase {
    const char *name;
    std::string program;
    Words words;             ///< "@x" stands for the file x, "@" for the home
    std::string input = {};  ///< on standard input
    bool changes = false;    ///< the home
    bool printsTheSame = true;
    const char *makes = nullptr;  ///< a file or folder that is there as a whole or not at all
};

void PrintTo(const CommandCase &one, std::ostream *out);
std::string nameOfCommand(const testing::TestParamInfo<CommandCase> &test);

/** Those that change a home, each in another way. */
std::vector<CommandCase> writingCommands();

/** All, with the shell's login, BASE, XFIND and XGET. */
std::vector<CommandCase> everyCommand();

/** Runs each command of the table on copies of one home. */
class CommandTest : public HomeTest, public testing::WithParamInterface<CommandCase> {
protected:
    CommandTest();

    /** Finds out what the command makes of the home. */
    void SetUp() override;

    fs::path copiedHome() const;

    /** The command on that home; what it makes is gone. */
    support::Command command(const fs::path &home) const;

    void file(const std::string &name, std::uint32_t seed, std::size_t items) const;

    Content old_;
    Content new_;
};

}  // namespace robustness

#endif
