#include "zdbs/base/private_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>

#include "tests/support/temporary_directory.h"

namespace zdbs {
namespace {

struct ModeRow {
    const char *name;
    std::optional<mode_t> before;
    mode_t umask;
    mode_t after;
};

void PrintTo(const ModeRow &row, std::ostream *out) {
    *out << row.name;
}

class PrivateFileMode : public ::testing::TestWithParam<ModeRow> {};

TEST_P(PrivateFileMode, IsGivenToWhatIsNewAndLeftToWhatWasThere) {
    const support::TemporaryDirectory directory;
    const std::filesystem::path path = directory.path() / "file";
    if (GetParam().before) {
        std::ofstream(path) << "a line\n";
        ASSERT_EQ(::chmod(path.c_str(), *GetParam().before), 0);
    }

    const mode_t umask = ::umask(GetParam().umask);
    EXPECT_TRUE(openPrivateFile(path, O_WRONLY | O_CREAT | O_APPEND));
    ::umask(umask);

    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & ALLPERMS, GetParam().after);
}

INSTANTIATE_TEST_SUITE_P(PrivateFiles, PrivateFileMode,
                         ::testing::Values(ModeRow{"New", std::nullopt, 022, 0600},
                                           ModeRow{"NewUnderAnUmaskOfAll", std::nullopt, 0777,
                                                   0600},
                                           ModeRow{"OneThatAllWrite", 0666, 022, 0666},
                                           ModeRow{"ALogThatAGroupReads", 0640, 022, 0640}),
                         [](const auto &row) { return row.param.name; });

}  // namespace
}  // namespace zdbs
