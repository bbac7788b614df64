// The pages of LMDB's files: sound ones are called sound, whatever they hold; and what is called
// sound can be read by LMDB without harm, whatever was done to it.
#include "zdbs/embedded/store/data_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lmdb.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/temporary_directory.h"
#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"

namespace zdbs::embedded {
namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

MDB_val valueOf(const std::string &text) {
    return {text.size(), const_cast<char *>(text.data())};
}

void require(int error) {
    if (error != MDB_SUCCESS) throw std::runtime_error(::mdb_strerror(error));
}

/** An LMDB environment, with nothing of the store around it. */
class RawEnvironment {
public:
    explicit RawEnvironment(const fs::path &directory, unsigned flags = 0) {
        require(::mdb_env_create(&env_));
        require(::mdb_env_set_maxdbs(env_, 4));
        require(::mdb_env_set_mapsize(env_, std::size_t{1} << 28));
        const int error = ::mdb_env_open(env_, directory.c_str(), flags | MDB_NOTLS, 0600);
        if (error == MDB_SUCCESS) return;
        ::mdb_env_close(env_);
        require(error);
    }
    ~RawEnvironment() { ::mdb_env_close(env_); }
    RawEnvironment(const RawEnvironment &) = delete;
    RawEnvironment &operator=(const RawEnvironment &) = delete;

    void change(const std::function<void(MDB_txn *, MDB_dbi)> &work, const char *table = "one") {
        MDB_txn *transaction = nullptr;
        MDB_dbi handle = 0;
        require(::mdb_txn_begin(env_, nullptr, 0, &transaction));
        require(::mdb_dbi_open(transaction, table, MDB_CREATE, &handle));
        work(transaction, handle);
        require(::mdb_txn_commit(transaction));
    }

    void put(int first, int last, std::size_t size, const char *table = "one") {
        change(
            [&](MDB_txn *transaction, MDB_dbi handle) {
                for (int i = first; i < last; ++i) {
                    const std::string keyText = "key" + std::to_string(i * 7919 % 100003);
                    const std::string text(size, 'v');
                    MDB_val key = valueOf(keyText);
                    MDB_val value = valueOf(text);
                    require(::mdb_put(transaction, handle, &key, &value, 0));
                }
            },
            table);
    }

    void remove(int first, int last) {
        change([&](MDB_txn *transaction, MDB_dbi handle) {
            for (int i = first; i < last; ++i) {
                const std::string keyText = "key" + std::to_string(i * 7919 % 100003);
                MDB_val key = valueOf(keyText);
                ::mdb_del(transaction, handle, &key, nullptr);
            }
        });
    }

    /** Reads every record of every table, each byte of them. */
    std::size_t readAll() {
        MDB_txn *transaction = nullptr;
        std::size_t sum = 0;
        require(::mdb_txn_begin(env_, nullptr, MDB_RDONLY, &transaction));
        for (const char *table : {"one", "two"}) {
            MDB_dbi handle = 0;
            if (::mdb_dbi_open(transaction, table, 0, &handle) != MDB_SUCCESS) continue;
            sum += readTable(transaction, handle);
        }
        ::mdb_txn_abort(transaction);
        return sum;
    }

private:
    static std::size_t readTable(MDB_txn *transaction, MDB_dbi handle) {
        MDB_cursor *cursor = nullptr;
        MDB_val key{};
        MDB_val value{};
        std::size_t sum = 0;
        require(::mdb_cursor_open(transaction, handle, &cursor));
        while (::mdb_cursor_get(cursor, &key, &value, MDB_NEXT) == MDB_SUCCESS) {
            const auto *bytes = static_cast<const unsigned char *>(value.mv_data);
            for (std::size_t i = 0; i < value.mv_size; ++i)
                sum += bytes[i];
            MDB_val again{};
            ::mdb_get(transaction, handle, &key, &again);
            ++sum;
        }
        ::mdb_cursor_close(cursor);
        return sum;
    }

    MDB_env *env_ = nullptr;
};

class DataFileTest : public testing::Test {
protected:
    fs::path file() const { return directory_.path() / "data.mdb"; }

    std::vector<std::string> findings() const { return checkDataFile(file()).findings; }

    std::string content() const { return support::readFile(file().native()); }

    void setContent(const std::string &bytes) const { directory_.write("data.mdb", bytes); }

    /** Two tables with branches, overflow pages and free pages. */
    void fill() const {
        RawEnvironment environment(directory_.path());
        environment.put(0, 3000, 20);
        environment.put(3000, 3010, 10000);
        environment.put(0, 50, 100, "two");
        environment.remove(500, 1500);
        environment.put(5000, 5300, 30);
    }

    /** Does LMDB get through all of it, in a process of its own? An error counts as that. */
    bool canBeRead() const {
        const pid_t child = ::fork();
        if (child == 0) {
            for (const int number : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE})
                ::signal(number, SIG_DFL);
            ::close(STDERR_FILENO);
            ::alarm(20);
            try {
                RawEnvironment(directory_.path(), MDB_RDONLY | MDB_NOLOCK).readAll();
            } catch (const std::runtime_error &) {
                ::_exit(0);
            }
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    support::TemporaryDirectory directory_;
};

TEST_F(DataFileTest, OfAnEmptyEnvironmentIsSound) {
    { const RawEnvironment environment(directory_.path()); }
    EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(DataFileTest, IsSoundAfterEveryChange) {
    RawEnvironment environment(directory_.path());
    std::mt19937 random(1);
    for (int turn = 0; turn < 60; ++turn) {
        const int first = static_cast<int>(random() % 4000);
        switch (random() % 4) {
            case 0:
                environment.put(first, first + 2500, random() % 100);
                break;
            case 1:
                environment.put(first, first + 5, random() % 20000);
                break;
            case 2:
                environment.remove(first, first + static_cast<int>(random() % 2000));
                break;
            default:
                environment.put(first, first + 50, 10, "two");
        }
        ASSERT_THAT(findings(), IsEmpty()) << turn;
    }
    EXPECT_GT(checkDataFile(file()).pages, 100U);
}

TEST_F(DataFileTest, OfAnEmptiedTableIsSound) {
    RawEnvironment environment(directory_.path());
    environment.put(0, 2000, 50);
    environment.remove(0, 2000);
    EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(DataFileTest, ThatIsNotThereIsAFailure) {
    EXPECT_THROW(checkDataFile(file()), Failure);
    EXPECT_THROW(checkDataFile(directory_.path()), Failure);
}

TEST_F(DataFileTest, OfOtherBytesIsNone) {
    for (const std::string &bytes :
         {std::string(), std::string(100, 'x'), std::string(5000, '\0'), std::string(50000, 'x')}) {
        setContent(bytes);
        EXPECT_THAT(findings(), SizeIs(1)) << bytes.size();
    }
}

TEST_F(DataFileTest, ThatWasCutAnywhereIsDamaged) {
    fill();
    const std::string whole = content();
    for (std::size_t pages = 0; pages + 1 < whole.size() / 4096; pages += 1 + pages / 8) {
        setContent(whole.substr(0, pages * 4096));
        if (findings().empty()) {
            EXPECT_TRUE(canBeRead()) << pages;
        }
    }
    setContent(whole.substr(0, 3 * 4096));
    EXPECT_THAT(findings(), testing::Not(IsEmpty()));
}

TEST_F(DataFileTest, IsSoundWhileCommitsComeFasterThanItIsRead) {
    std::ofstream(directory_.path() / writerLockName).close();
    {
        RawEnvironment environment(directory_.path());
        environment.put(0, 100000, 100);
    }
    const std::jthread writer([&](const std::stop_token &stop) {
        RawEnvironment environment(directory_.path(), MDB_NOSYNC);
        for (int i = 0; !stop.stop_requested(); i = (i + 1) % 1000) {
            const FileLock lock(directory_.path() / writerLockName);
            environment.put(i * 90, i * 90 + 20, 100U + static_cast<std::size_t>(i % 3));
        }
    });
    for (int turn = 0; turn < 10; ++turn)
        EXPECT_THAT(checkDataFile(file()).findings, IsEmpty());
}

TEST_F(DataFileTest, NamesThePlace) {
    fill();
    std::string bytes = content();
    // The number that each page carries; some pages are free, and those do not matter.
    std::size_t found = 0;
    for (std::size_t page = 2; page < bytes.size() / 4096; ++page) {
        const std::string whole = bytes;
        bytes[page * 4096] = static_cast<char>(bytes[page * 4096] + 1);
        setContent(bytes);
        bytes = whole;
        const auto all = findings();
        if (all.empty()) continue;
        ++found;
        EXPECT_THAT(all.front(), HasSubstr("page " + std::to_string(page))) << page;
    }
    EXPECT_GT(found, 30U);
}

TEST_F(DataFileTest, TellsAsManyFindingsAsAreAskedFor) {
    fill();
    std::string bytes = content();
    for (std::size_t page = 2; page < bytes.size() / 4096; ++page)
        bytes[page * 4096 + 10] = '\x7f';
    setContent(bytes);
    EXPECT_THAT(checkDataFile(file(), 3).findings.size(), testing::Le(3U));
    EXPECT_THAT(findings(), testing::Not(IsEmpty()));
}

// A child process for each file that is sound; a sanitized one takes thirty times as long to make.
#if defined(__SANITIZE_ADDRESS__)
constexpr int randomTurns = 300;
#else
constexpr int randomTurns = 1500;
#endif

// Bytes change at random where LMDB keeps its structures: in the meta pages, the headers, the
// offsets and the nodes.
TEST_F(DataFileTest, WithoutFindingsIsReadByLmdbWithoutHarmWhateverWasChanged) {
    fill();
    const std::string whole = content();
    std::mt19937 random(2);
    int sound = 0;
    int damaged = 0;
    for (int turn = 0; turn < randomTurns; ++turn) {
        std::string bytes = whole;
        const std::size_t pages = bytes.size() / 4096;
        for (std::uint32_t change = 1 + random() % 3; change > 0; --change) {
            const std::size_t page = random() % 4 == 0 ? random() % 2 : random() % pages;
            const std::size_t offset =
                random() % 3 == 0 ? random() % 4096 : random() % (page < 2 ? 152 : 64);
            bytes[page * 4096 + offset] = static_cast<char>(random());
        }
        setContent(bytes);
        const bool isSound = findings().empty();
        ++(isSound ? sound : damaged);
        if (isSound && !canBeRead()) FAIL() << turn;
    }
    EXPECT_GT(sound, randomTurns / 30);
    EXPECT_GT(damaged, randomTurns / 5);
}

}  // namespace
}  // namespace zdbs::embedded
