/** A home with a database "db" that the programs of this folder work on. */
#ifndef TESTS_ROBUSTNESS_HOME_FIXTURE_H
#define TESTS_ROBUSTNESS_HOME_FIXTURE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/support/piped_program.h"
#include "tests/support/temporary_directory.h"

namespace robustness {

/** What a home holds: its database "db", and the names of all else. */
struct Content {
    std::map<std::string, std::string> documents;  ///< the XML of each by name
    std::string list;                              ///< names, numbers of nodes, sizes
    std::string segments;                          ///< and other counts, as check has them
    std::string home;                              ///< databases, users and grants

    bool operator==(const Content &) const = default;
};

using Words = std::vector<std::string>;

/** Reads it through `zdbs dump` and lists, so that nothing is opened in the test itself. */
Content contentOf(const std::filesystem::path &home);

/** A command of `zdbs` on that home. */
support::Command zdbsCommand(const std::filesystem::path &home, const Words &words);

/** Runs a command of `zdbs` that has to succeed; its output. */
std::string zdbs(const std::filesystem::path &home, const Words &words,
                 const std::string &input = "");

/** Expects that `zdbs check` finds nothing; answers the last line of what it says. */
std::string expectSound(const std::filesystem::path &home, const std::string &when);

class HomeTest : public testing::Test {
protected:
    /** Makes the home with the empty database, and the user that reader.cpp logs in as. */
    void makeHome();

    /** The command of reader.cpp on this home. */
    support::Command reader(const Words &words) const;

    support::TemporaryDirectory directory_;
    std::filesystem::path home_ = directory_.path() / "home";
};

}  // namespace robustness

#endif
