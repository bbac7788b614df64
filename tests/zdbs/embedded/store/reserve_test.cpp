#include "zdbs/embedded/store/reserve.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "tests/support/temporary_directory.h"
#include "zdbs/base/private_files.h"

namespace zdbs::embedded {
namespace {

constexpr std::uint64_t leastSize = std::uint64_t{1} << 20;

class ReserveTest : public testing::Test {
protected:
    std::uint64_t bytesOnDisk() const {
        struct stat file {};
        if (::stat(path_.c_str(), &file) != 0) return 0;
        return static_cast<std::uint64_t>(file.st_blocks) * 512;
    }

    support::TemporaryDirectory home_;
    std::filesystem::path path_ = home_.path() / Reserve::fileName;
    Reserve reserve_{home_.path()};
};

TEST_F(ReserveTest, TakesRoomForARemovalAndForTheUsers) {
    reserve_.fill();
    EXPECT_GE(bytesOnDisk(), leastSize);
    home_.write("users", std::string(2 * leastSize, '#'));
    reserve_.fill();
    EXPECT_GE(bytesOnDisk(), 3 * leastSize);
}

TEST_F(ReserveTest, TakesItOnce) {
    reserve_.fill();
    const auto before = bytesOnDisk();
    reserve_.fill();
    reserve_.use([] {});
    EXPECT_EQ(bytesOnDisk(), before);
}

TEST_F(ReserveTest, IsFreeWhileItIsUsed) {
    reserve_.fill();
    std::uint64_t meanwhile = leastSize;
    reserve_.use([&] { meanwhile = bytesOnDisk(); });
    EXPECT_EQ(meanwhile, 0U);
    EXPECT_GE(bytesOnDisk(), leastSize);
}

TEST_F(ReserveTest, IsTakenBackWhenTheWorkFails) {
    reserve_.fill();
    EXPECT_THROW(reserve_.use([] { throw std::runtime_error("no"); }), std::runtime_error);
    EXPECT_GE(bytesOnDisk(), leastSize);
}

TEST_F(ReserveTest, ThatIsNotThereIsNotMadeByItsUse) {
    bool isDone = false;
    reserve_.use([&] { isDone = true; });
    EXPECT_TRUE(isDone);
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(ReserveTest, IsNotThereWhereNothingMayBeWritten) {
    const Reserve nowhere(home_.path() / "none");
    EXPECT_NO_THROW(nowhere.fill());
    EXPECT_FALSE(std::filesystem::exists(home_.path() / "none"));
}

TEST_F(ReserveTest, KeepsToTheLimitOnTheSizesOfFiles) {
    constexpr std::uint64_t limit = std::uint64_t{1} << 16;
    const pid_t child = ::fork();
    if (child == 0) {
        const rlimit least{limit, limit};
        if (::setrlimit(RLIMIT_FSIZE, &least) != 0) ::_exit(1);
        reserve_.fill();
        reserve_.use([] {});
        ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "the system ends who goes beyond it";
    EXPECT_EQ(bytesOnDisk(), limit);
}

TEST_F(ReserveTest, IsLockedWhileItIsUsed) {
    reserve_.fill();
    const FileDescriptor another(::open(path_.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(another);
    reserve_.use([&] { EXPECT_NE(::flock(another.get(), LOCK_EX | LOCK_NB), 0); });
    EXPECT_EQ(::flock(another.get(), LOCK_EX | LOCK_NB), 0);
}

}  // namespace
}  // namespace zdbs::embedded
