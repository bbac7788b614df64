/**
 * Sixteen sessions that read while others load, replace, remove, compact and back up. Not among the
 * tests, for it takes as long as it is told to:
 *
 *   build/tests/robustness_long_run [SECONDS]
 *
 * Every answer has to be the one of a committed state, and none of an older state than the one
 * before (generations.h). The exit status is 1 when one is not, when a command fails, when the last
 * backup does not restore, or when memory or files have grown by more than a quarter.
 */
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tests/robustness/generations.h"
#include "tests/robustness/home_fixture.h"

namespace robustness {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int sessions = 16;

std::uint64_t sizeOnDisk(const fs::path &directory) {
    std::uint64_t size = 0;
    for (const auto &entry : fs::recursive_directory_iterator(directory)) {
        std::error_code gone;  // a segment that was merged meanwhile
        const std::uint64_t bytes = entry.is_regular_file(gone) ? entry.file_size(gone) : 0;
        if (!gone) size += bytes;
    }
    return size;
}

/** What a session told at its end. */
struct Stay {
    std::uint64_t rounds = 0;
    std::uint64_t median = 0;
    std::uint64_t late = 0;
    std::uint64_t latest = 0;
    std::uint64_t before = 0;
    std::uint64_t after = 0;
};

class LongRun {
public:
    explicit LongRun(double seconds) : seconds_(seconds) {
        make({"init"});
        make({"create", "db"});
        make({"user", "add", "reader", "--password-stdin"}, "secret\n");
        make({"grant", "reader", "db"});
        writer_ = std::make_unique<support::PipedProgram>(
            support::Command{WORKER_PROGRAM, {"serve", home_.native()}, {}, {}});
        change();
        for (int i = 0; i < sessions; ++i)
            readers_.push_back(std::make_unique<support::PipedProgram>(
                support::Command{READER_PROGRAM,
                                 {"stay", std::to_string(seconds)},
                                 {{"ZDBS_HOME", home_.native()}},
                                 {}}));
    }

    /** Whether all went well. */
    bool run() {
        const auto begin = Clock::now();
        const auto passed = [&] {
            return std::chrono::duration<double>(Clock::now() - begin).count();
        };
        while (passed() < seconds_ && isGood_) {
            turn();
            measureFiles(passed() / seconds_);
        }
        finishReaders();
        finishWriter();
        tell();
        return isGood_;
    }

private:
    void fail(const std::string &what) {
        std::cout << "FAILED: " << what << "\n";
        isGood_ = false;
    }

    void make(const Words &words, const std::string &input = "") {
        const auto result = support::run(zdbsCommand(home_, words), input);
        ++commands_;
        if (result.ending != support::exited(0)) fail(words[0] + ": " + result.err);
    }

    void change() {
        const std::string number = std::to_string(generation_++ % generationLimit) + "\n";
        const bool isDone =
            writer_->send("generation " + number) && writer_->waitForOutput("done " + number);
        if (!isDone) fail("generation " + number);
        // What it has told is forgotten with it, lest the search in it takes ever longer.
        if (generation_ % generationLimit == 0) restartWriter();
    }

    void restartWriter() {
        finishWriter();
        writer_ = std::make_unique<support::PipedProgram>(
            support::Command{WORKER_PROGRAM, {"serve", home_.native()}, {}, {}});
    }

    void finishWriter() {
        const auto result = writer_->finish();
        if (result.ending != support::exited(0)) fail("the writer: " + result.err);
    }

    void turn() {
        change();
        ++turns_;
        if (turns_ % 4 == 1) make({"load", "db", "-", "--name", "extra.xml"}, "<x/>");
        if (turns_ % 4 == 2) make({"replace", "db", "-", "--name", "extra.xml"}, "<y/>");
        if (turns_ % 4 == 3) make({"remove", "db", "extra.xml"});
        if (turns_ % 16 == 5) make({"compact", "db"});
        if (turns_ % 32 == 7) backUp();
    }

    void backUp() {
        const std::string file = directory_ / "backup";
        fs::remove(file);
        make({"backup", "--output", file});
        fs::remove_all(directory_ / "restored");
        make({"restore", file, "--into", directory_ / "restored"});
        make({"--home", directory_ / "restored", "check", "db"});
        ++backups_;
    }

    /** The most that the files take in the second fifth of the time, and in the last one. */
    void measureFiles(double part) {
        if (part > 0.2 && part < 0.4) earlyBytes_ = std::max(earlyBytes_, sizeOnDisk(home_));
        if (part > 0.8) lateBytes_ = std::max(lateBytes_, sizeOnDisk(home_));
    }

    void finishReaders() {
        for (const auto &reader : readers_) {
            const auto result = reader->finish();
            if (result.ending != support::exited(0)) {
                fail("a session: " + result.err);
                continue;
            }
            Stay stay;
            std::istringstream words(result.out.substr(result.out.rfind("rounds ") + 7));
            words >> stay.rounds >> stay.median >> stay.late >> stay.latest >> stay.before >>
                stay.after;
            if (stay.after > stay.before + stay.before / 4) fail("the memory of a session grows");
            stays_.push_back(stay);
        }
        make({"check", "db"});
        if (lateBytes_ > earlyBytes_ + earlyBytes_ / 4) fail("the files grow");
    }

    void tell() const {
        Stay all;
        for (const Stay &stay : stays_) {
            all.rounds += stay.rounds;
            all.median = std::max(all.median, stay.median);
            all.late = std::max(all.late, stay.late);
            all.latest = std::max(all.latest, stay.latest);
            all.before = std::max(all.before, stay.before);
            all.after = std::max(all.after, stay.after);
        }
        std::cout << stays_.size() << " sessions, " << all.rounds << " rounds of 9 answers; "
                  << generation_ << " states, " << commands_ << " commands, " << backups_
                  << " backups restored\n"
                  << "a round, in microseconds: median " << all.median << ", 99 % " << all.late
                  << ", longest " << all.latest << "\n"
                  << "resident kilobytes of a session: " << all.before << ", at the end "
                  << all.after << "\n"
                  << "bytes of the files: " << earlyBytes_ << ", at the end " << lateBytes_ << "\n"
                  << (isGood_ ? "wrong answers: 0" : "FAILED") << "\n";
    }

    double seconds_;
    support::TemporaryDirectory directory_;
    fs::path home_ = directory_.path() / "home";
    std::unique_ptr<support::PipedProgram> writer_;
    std::vector<std::unique_ptr<support::PipedProgram>> readers_;
    std::vector<Stay> stays_;
    std::int32_t generation_ = 0;
    std::uint64_t turns_ = 0;
    std::uint64_t commands_ = 0;
    std::uint64_t backups_ = 0;
    std::uint64_t earlyBytes_ = 0;
    std::uint64_t lateBytes_ = 0;
    bool isGood_ = true;
};

}  // namespace
}  // namespace robustness

int main(int count, char **arguments) {
    const double seconds = count > 1 ? std::strtod(arguments[1], nullptr) : 600;
    return robustness::LongRun(seconds).run() ? 0 : 1;
}
