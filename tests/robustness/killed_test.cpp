// A change of a database that is killed at any moment has happened or it has not. The moments:
// before, within and after a change of a file, spread over the whole of the operation; and kills
// from outside after random times.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/robustness/home_fixture.h"
#include "tests/robustness/interrupt.h"
#include "tests/robustness/sample_xml.h"

namespace robustness {
namespace {

namespace fs = std::filesystem;

#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t countedMoments = 10;  // everything takes several times as long
constexpr std::size_t timedMoments = 2;
#else
constexpr std::size_t countedMoments = 30;
constexpr std::size_t timedMoments = 28;
#endif

/** One way to change the database; `program` has interrupt.cpp in it. */
struct Operation {
    const char *name;
    const char *program;
    Words words;  ///< "@x" stands for the file x, "@" for the home
};

void PrintTo(const Operation &operation, std::ostream *out) {
    *out << operation.name;
}

const std::vector<Operation> &operations() {
    static const std::vector<Operation> all = {
        {"Load", INTERRUPTED_ZDBS, {"load", "db", "@new.xml", "@more.xml"}},
        {"LoadOfManySegments", WORKER_PROGRAM, {"load", "@", "@new.xml", "@more.xml", "@big.xml"}},
        {"Replace", INTERRUPTED_ZDBS, {"replace", "db", "@other/old.xml"}},
        {"Remove", INTERRUPTED_ZDBS, {"remove", "db", "old.xml"}},
        {"Compact", INTERRUPTED_ZDBS, {"compact", "db"}},
    };
    return all;
}

/** A moment of an operation: within its n-th change of a file, or before or after it. */
struct Moment {
    long change;
    std::string when;
};

/** All moments of an operation with that many changes, or as many as asked for, ends included. */
std::vector<Moment> spreadMoments(long changes, std::size_t count, std::mt19937 &random) {
    std::vector<Moment> all;
    for (long change = 1; change <= changes; ++change) {
        for (const char *when : {"before", "within", "after"})
            all.push_back({change, when});
    }
    if (all.size() <= count) return all;
    std::shuffle(all.begin() + 1, all.end() - 1, random);
    std::swap(all[1], all.back());
    all.resize(count);
    return all;
}

std::size_t fileCount(const fs::path &directory) {
    return static_cast<std::size_t>(std::distance(fs::recursive_directory_iterator(directory), {}));
}

class KilledTest : public HomeTest, public testing::WithParamInterface<Operation> {
protected:
    KilledTest() {
        fs::create_directory(directory_.path() / "other");
        file("keep.xml", 1, 30);
        file("old.xml", 2, 40);
        file("other/old.xml", 3, 50);
        file("new.xml", 4, 25);
        file("more.xml", 5, 3);
        file("big.xml", 6, 300);
        file("gone.xml", 7, 100);
        makeHome();
        zdbs(home_, {"load", "db", directory_ / "keep.xml", directory_ / "gone.xml"});
        zdbs(home_, {"load", "db", directory_ / "old.xml"});
        zdbs(home_, {"remove", "db", "gone.xml"});
        old_ = contentOf(home_);
        runUndisturbed();
    }

    void file(const std::string &name, std::uint32_t seed, std::size_t items) const {
        directory_.write(name, sampleXml(seed, items));
    }

    fs::path copiedHome() const {
        const fs::path copy = directory_.path() / "copy";
        fs::remove_all(copy);
        fs::copy(home_, copy, fs::copy_options::recursive);
        return copy;
    }

    support::Command command(const fs::path &home) const {
        support::Command result = {
            GetParam().program, GetParam().words, {{"ZDBS_HOME", home.native()}}, {}};
        for (std::string &word : result.arguments) {
            if (word == "@")
                word = home.native();
            else if (word.starts_with('@'))
                word = directory_ / word.substr(1);
        }
        return result;
    }

    /** Finds out what the operation does, and in how many changes of files. */
    void runUndisturbed() {
        const fs::path home = copiedHome();
        support::Command counted = command(home);
        const std::string countFile = directory_ / "count";
        counted.environment[countFileVariable] = countFile;
        const auto result = support::run(counted);
        EXPECT_EQ(result.ending, support::exited(0)) << result.err;
        changes_ = std::atol(support::readFile(countFile).c_str());
        new_ = contentOf(home);
        files_ = fileCount(home);
    }

    /** The shortest of three times: a single one can be long by chance, and all kills too late. */
    double secondsUndisturbed() const {
        auto shortest = support::Clock::duration::max();
        for (int i = 0; i < 3; ++i) {
            const fs::path home = copiedHome();
            const auto begin = support::Clock::now();
            EXPECT_EQ(support::run(command(home)).ending, support::exited(0));
            shortest = std::min(shortest, support::Clock::duration(support::Clock::now() - begin));
        }
        return std::chrono::duration<double>(shortest).count();
    }

    /** Looks at what a killed operation left; false when it is neither the one nor the other. */
    bool inspect(const fs::path &home, const std::string &moment) {
        const Content left = contentOf(home);
        EXPECT_TRUE(left == old_ || left == new_) << moment << ": " << left.list << left.segments;
        oldStates_ += left == old_;
        newStates_ += left == new_;
        return left == old_ ? tryAgain(home, moment) : left == new_;
    }

    bool tryAgain(const fs::path &home, const std::string &moment) {
        const auto again = support::run(command(home));
        EXPECT_EQ(again.ending, support::exited(0)) << moment << ": " << again.err;
        const Content content = contentOf(home);
        EXPECT_EQ(content.documents, new_.documents) << moment;
        EXPECT_EQ(fileCount(home), files_) << moment << ": something is left behind";
        return content.documents == new_.documents;
    }

    Content old_;
    Content new_;
    long changes_ = 0;
    std::size_t files_ = 0;
    int oldStates_ = 0;
    int newStates_ = 0;
};

TEST_P(KilledTest, InTheMidstOfItsChangesItHasHappenedOrNot) {
    std::mt19937 random(1);
    ASSERT_GT(changes_, 2);
    int killed = 0;
    for (const Moment &moment : spreadMoments(changes_, countedMoments, random)) {
        const fs::path home = copiedHome();
        support::Command interrupted = command(home);
        interrupted.environment[killAtVariable] = std::to_string(moment.change);
        interrupted.environment[killWhenVariable] = moment.when;
        killed += support::run(interrupted).ending == support::killedBy(SIGKILL);
        ASSERT_TRUE(inspect(home, moment.when + " change " + std::to_string(moment.change)));
    }
    EXPECT_EQ(killed, oldStates_ + newStates_) << "some were not killed";
    EXPECT_GT(oldStates_, 0);
    EXPECT_GT(newStates_, 0);
    RecordProperty("changes", static_cast<int>(changes_));
    RecordProperty("killed", killed);
    RecordProperty("old", oldStates_);
    RecordProperty("new", newStates_);
}

/** What is written and not synced at the moment when a commit is written. */
class UnsyncedFiles {
public:
    explicit UnsyncedFiles(fs::path home) : home_(std::move(home)) {}

    /** A line of the log; answers what a power cut could take away behind the commit's back. */
    std::string read(const std::string &line) {
        std::istringstream words(line);
        std::string what;
        long offset = -1;
        words >> what;
        if (what == "write") words >> offset;
        std::string path;
        std::getline(words >> std::ws, path);
        if (!path.starts_with(home_.native())) return {};
        if (what == "sync") {
            files_.erase(path);
            return {};
        }
        const bool isCommit = path.ends_with("/data.mdb") && offset >= 0 && offset < 2 * pageSize;
        if (isCommit) return files_.empty() ? "" : *files_.begin();
        if (isNew(path)) files_.insert(fs::path(path).parent_path().native());
        files_.insert(path);
        return {};
    }

private:
    static constexpr long pageSize = 4096;

    bool isNew(const std::string &path) {
        return path.ends_with(".seg") && known_.insert(path).second;
    }

    fs::path home_;
    std::set<std::string> files_;
    std::set<std::string> known_;
};

// LMDB opens the file a second time for commits, so that those are on the disk when they return.
TEST_P(KilledTest, WhatACommitNamesIsOnTheDiskBeforeIt) {
    const fs::path home = copiedHome();
    support::Command logged = command(home);
    logged.environment[logFileVariable] = directory_ / "log";
    ASSERT_EQ(support::run(logged).ending, support::exited(0));
    UnsyncedFiles unsynced(home);
    std::istringstream log(support::readFile(directory_ / "log"));
    int commits = 0;
    for (std::string line; std::getline(log, line);) {
        EXPECT_EQ(unsynced.read(line), "") << line;
        commits += line.starts_with("write ") && line.ends_with("/data.mdb");
    }
    EXPECT_GE(commits, 1);
}

TEST_P(KilledTest, AfterAnyTimeItHasHappenedOrNot) {
    std::mt19937 random(2);
    std::uniform_real_distribution<double> delay(0.0005, secondsUndisturbed() * 1.1);
    int killed = 0;
    for (std::size_t i = 0; i < timedMoments; ++i) {
        const fs::path home = copiedHome();
        const std::string after = std::to_string(delay(random));
        const support::Command whole = command(home);
        support::Command limited = {
            "timeout", {"-s", "KILL", after, whole.program}, whole.environment, {}};
        limited.arguments.insert(limited.arguments.end(), whole.arguments.begin(),
                                 whole.arguments.end());
        killed += support::run(limited).ending != support::exited(0);
        ASSERT_TRUE(inspect(home, "after " + after + " s"));
    }
    RecordProperty("killed", killed);
    RecordProperty("old", oldStates_);
    RecordProperty("new", newStates_);
}

INSTANTIATE_TEST_SUITE_P(Operations, KilledTest, testing::ValuesIn(operations()),
                         [](const auto &test) { return std::string(test.param.name); });

}  // namespace
}  // namespace robustness
