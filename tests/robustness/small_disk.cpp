#include "tests/robustness/small_disk.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace robustness {

namespace {

using Words = std::vector<std::string>;

/** The words, and behind them those that somebody needs who is not root. */
Words withOwnUsers(Words words, const Words &more) {
    if (::geteuid() != 0) words.insert(words.end(), more.begin(), more.end());
    return words;
}

support::Command holder(const std::filesystem::path &directory) {
    Words words = withOwnUsers({"--mount"}, {"--user", "--map-root-user"});
    words.insert(words.end(), {"sh", "-c", "mount -t tmpfs none \"$0\" && echo mounted && cat",
                               directory.native()});
    return {"unshare", words, {}, {}};
}

}  // namespace

SmallDisk::SmallDisk(const std::filesystem::path &directory)
    : directory_(directory),
      holder_(holder(directory)),
      isMounted_(holder_.waitForOutput("mounted\n")) {}

support::Command SmallDisk::command(const support::Command &command) const {
    Words words = withOwnUsers({"--mount", "--target", std::to_string(holder_.pid())},
                               {"--user", "--preserve-credentials"});
    words.push_back(command.program);
    words.insert(words.end(), command.arguments.begin(), command.arguments.end());
    return {"nsenter", words, command.environment, command.ignoredSignals};
}

support::ProgramResult SmallDisk::run(const support::Command &command,
                                      std::string_view input) const {
    return support::run(this->command(command), input);
}

void SmallDisk::leaveFree(std::uint64_t bytes) const {
    const std::string script =
        "used=$(df -B1 --output=used \"$0\" | tail -n 1) && "
        "mount -o remount,size=$((used + $1)) \"$0\"";
    const auto result =
        run({"sh", {"-c", script, directory_.native(), std::to_string(bytes)}, {}, {}});
    ASSERT_EQ(result.ending, support::exited(0)) << result.err;
}

std::filesystem::path SmallDisk::fromOutside(const std::filesystem::path &path) const {
    return "/proc/" + std::to_string(holder_.pid()) + "/root" + path.native();
}

}  // namespace robustness
