#include "zdbs/embedded/store/environment.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/temporary_directory.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "zdbs/base/private_files.h"
#include "zdbs/embedded/store/records.h"

namespace zdbs::embedded {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

constexpr std::size_t smallMap = std::size_t{1} << 20;

class EnvironmentTest : public testing::Test {
protected:
    EnvironmentTest() { Environment::create(directory_.path()); }

    std::shared_ptr<Environment> open(std::size_t mapSize = defaultMapSize) const {
        return Environment::open(directory_.path(), mapSize);
    }

    /** Changes a record behind the back of the store. */
    void putRaw(const char *table, std::string_view key, std::string_view record) const {
        MDB_env *env = nullptr;
        MDB_txn *transaction = nullptr;
        MDB_dbi handle = 0;
        MDB_val keyVal{key.size(), const_cast<char *>(key.data())};
        MDB_val recordVal{record.size(), const_cast<char *>(record.data())};
        ASSERT_EQ(mdb_env_create(&env), 0);
        ASSERT_EQ(mdb_env_set_maxdbs(env, 20), 0);
        ASSERT_EQ(mdb_env_open(env, directory_.path().c_str(), 0, 0600), 0);
        ASSERT_EQ(mdb_txn_begin(env, nullptr, 0, &transaction), 0);
        ASSERT_EQ(mdb_dbi_open(transaction, table, MDB_CREATE, &handle), 0);
        ASSERT_EQ(mdb_put(transaction, handle, &keyVal, &recordVal, 0), 0);
        ASSERT_EQ(mdb_txn_commit(transaction), 0);
        mdb_env_close(env);
    }

    support::TemporaryDirectory directory_;
};

void putBytes(Environment &environment, std::size_t count, std::size_t size) {
    WriteTransaction::run(environment, [&](WriteTransaction &transaction) {
        for (std::uint32_t i = 0; i < count; ++i)
            transaction.put(Table::longElements, encodeKey(i), std::string(size, 'x'));
    });
}

std::uint64_t records(const std::shared_ptr<Environment> &environment) {
    return ReadTransaction(environment).size(Table::longElements).records;
}

TEST_F(EnvironmentTest, IsOneForAllWhoOpenTheSameFiles) {
    const auto first = open();
    fs::create_directory_symlink(directory_.path(), directory_.path() / "link");
    EXPECT_EQ(open(), first);
    EXPECT_EQ(Environment::open(directory_.path() / "link"), first);
    EXPECT_EQ(Environment::open(directory_.path() / "."), first);
}

TEST_F(EnvironmentTest, IsOpenedAnewAfterItsLastUser) {
    putBytes(*open(), 3, 10);
    EXPECT_EQ(records(open()), 3U);
}

TEST_F(EnvironmentTest, CanBeOpenedAndClosedByManyThreadsAtOnce) {
    putBytes(*open(), 3, 10);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int turn = 0; turn < 50; ++turn)
                wrong += records(open()) != 3;
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(EnvironmentTest, InsteadOfARemovedOneIsAnother) {
    const auto old = open();
    putBytes(*old, 3, 10);
    for (const char *file : {"data.mdb", "lock.mdb"})
        fs::remove(directory_.path() / file);
    Environment::create(directory_.path());
    const auto anew = open();
    EXPECT_NE(anew, old);
    EXPECT_EQ(records(anew), 0U);
    EXPECT_EQ(records(old), 3U);
}

TEST_F(EnvironmentTest, WithoutFilesIsAnUnknownDatabase) {
    EXPECT_EQ(statusOf([&] { Environment::open(directory_.path() / "none"); }),
              Status::unknownDatabase);
    EXPECT_FALSE(fs::exists(directory_.path() / "none"));
}

TEST_F(EnvironmentTest, OfAnotherVersionIsRefusedByNumber) {
    putRaw("meta", versionKey, encodeNumber(7));
    std::string sentence;
    EXPECT_EQ(statusOf([&] { open(); }, &sentence), Status::homeVersion);
    EXPECT_THAT(sentence, HasSubstr("7 instead of 6"));
    EXPECT_THAT(sentence, HasSubstr(directory_.path().native()));
    putRaw("meta", versionKey, encodeNumber(formatVersion));
    EXPECT_EQ(statusOf([&] { open(); }), Status::ok);
}

TEST_F(EnvironmentTest, WithADamagedVersionIsDamaged) {
    putRaw("meta", versionKey, "one");
    EXPECT_EQ(statusOf([&] { open(); }), Status::homeDamaged);
}

TEST_F(EnvironmentTest, ThatIsNoSuchFileIsDamaged) {
    for (const char *content : {"", "this is no database at all"}) {
        support::TemporaryDirectory other;
        other.write("data.mdb", std::string(content) + std::string(10000, 'x'));
        EXPECT_EQ(statusOf([&] { Environment::open(other.path()); }), Status::homeDamaged);
    }
}

TEST_F(EnvironmentTest, OfSomebodyElseIsDamaged) {
    support::TemporaryDirectory other;
    MDB_env *env = nullptr;
    ASSERT_EQ(mdb_env_create(&env), 0);
    ASSERT_EQ(mdb_env_open(env, other.path().c_str(), 0, 0600), 0);
    mdb_env_close(env);
    EXPECT_EQ(statusOf([&] { Environment::open(other.path()); }), Status::homeDamaged);
}

TEST_F(EnvironmentTest, LeavesNoTraceOfWorkThatThrows) {
    const auto environment = open();
    EXPECT_EQ(statusOf([&] {
                  WriteTransaction::run(*environment, [](WriteTransaction &transaction) {
                      transaction.put(Table::longElements, "key", "record");
                      throw Failure(Status::malformed);
                  });
              }),
              Status::malformed);
    EXPECT_EQ(records(environment), 0U);
    putBytes(*environment, 1, 1);
    EXPECT_EQ(records(environment), 1U);
}

TEST_F(EnvironmentTest, OfTheFormatBeforeIsRefusedByNumber) {
    putRaw("meta", versionKey, encodeNumber(4));
    std::string sentence;
    EXPECT_EQ(statusOf([&] { open(); }, &sentence), Status::homeVersion);
    EXPECT_THAT(sentence, HasSubstr("4 instead of 6"));
}

TEST_F(EnvironmentTest, RemovesRecords) {
    const auto environment = open();
    putBytes(*environment, 1000, 3000);
    WriteTransaction::run(*environment, [](WriteTransaction &transaction) {
        transaction.remove(Table::longElements, encodeKey(0));
        transaction.remove(Table::longElements, encodeKey(0));
        transaction.remove(Table::longElements, encodeKey(999));
    });
    const ReadTransaction transaction(environment);
    EXPECT_EQ(transaction.size(Table::longElements).records, 998U);
    EXPECT_FALSE(transaction.get(Table::longElements, encodeKey(0)));
    EXPECT_TRUE(transaction.get(Table::longElements, encodeKey(1)));
}

TEST_F(EnvironmentTest, ClearsATable) {
    const auto environment = open();
    putBytes(*environment, 1000, 3000);
    WriteTransaction::run(*environment, [](WriteTransaction &transaction) {
        transaction.clear(Table::longElements);
        transaction.clear(Table::names);
    });
    EXPECT_EQ(records(environment), 0U);
    putBytes(*environment, 2, 1);
    EXPECT_EQ(records(environment), 2U);
}

TEST_F(EnvironmentTest, VisitsRecordsFromTheOneThatIsNotBehindAKey) {
    const auto environment = open();
    WriteTransaction::run(*environment, [](WriteTransaction &transaction) {
        for (std::uint32_t number = 10; number <= 100; number += 10)
            transaction.put(Table::longElements, encodeKey(number), "x");
    });
    const std::pair<std::uint32_t, std::uint32_t> cases[] = {
        {0, 10}, {9, 10}, {10, 10}, {11, 10}, {19, 10}, {20, 20}, {95, 90}, {100, 100}, {500, 100}};
    for (const auto &[from, first] : cases) {
        std::vector<std::uint32_t> keys;
        ReadTransaction(environment)
            .forEachFrom(Table::longElements, encodeKey(from),
                         [&](std::string_view key, std::string_view) {
                             keys.push_back(*decodeKey(key));
                             return true;
                         });
        ASSERT_EQ(keys.size(), (110 - first) / 10) << from;
        EXPECT_EQ(keys.front(), first) << from;
    }
    ReadTransaction(environment)
        .forEachFrom(Table::names, encodeKey(1), [](std::string_view, std::string_view) -> bool {
            ADD_FAILURE() << "there is nothing to visit";
            return true;
        });
}

TEST_F(EnvironmentTest, VisitsRecordsInOrderUntilToldToStop) {
    const auto environment = open();
    putBytes(*environment, 300, 5000);
    std::vector<std::uint32_t> keys;
    ReadTransaction(environment)
        .forEach(Table::longElements, [&](std::string_view key, std::string_view record) {
            EXPECT_EQ(record.size(), 5000U);
            keys.push_back(*decodeKey(key));
            return keys.size() < 200;
        });
    ASSERT_EQ(keys.size(), 200U);
    for (std::uint32_t i = 0; i < keys.size(); ++i)
        EXPECT_EQ(keys[i], i);
}

TEST_F(EnvironmentTest, SeesOneStateUntilTheEndOfATransaction) {
    const auto environment = open();
    putBytes(*environment, 1, 1);
    const ReadTransaction before(environment);
    putBytes(*environment, 5, 1);
    EXPECT_EQ(before.size(Table::longElements).records, 1U);
    EXPECT_EQ(records(environment), 5U);
}

TEST_F(EnvironmentTest, GrowsItsMapWhenTheFileFillsIt) {
    const auto environment = open(smallMap);
    int runs = 0;
    WriteTransaction::run(*environment, [&](WriteTransaction &transaction) {
        ++runs;
        for (std::uint32_t i = 0; i < 100; ++i)
            transaction.put(Table::longElements, encodeKey(i), std::string(100000, 'x'));
    });
    EXPECT_GT(runs, 2);
    EXPECT_EQ(records(environment), 100U);
}

TEST_F(EnvironmentTest, CannotGrowItsMapUnderAReaderAndSaysSo) {
    const auto environment = open(smallMap);
    {
        const ReadTransaction reader(environment);
        std::string sentence;
        EXPECT_EQ(statusOf([&] { putBytes(*environment, 100, 100000); }, &sentence),
                  Status::storeFailed);
        EXPECT_THAT(sentence, HasSubstr("cannot grow while it is read"));
        EXPECT_EQ(reader.size(Table::longElements).records, 0U);
    }
    putBytes(*environment, 100, 100000);
    EXPECT_EQ(records(environment), 100U);
}

/** Runs `work` in a process of its own and expects it to answer true. */
void expectInChild(const std::function<bool()> &work) {
    const pid_t child = ::fork();
    if (child == 0) {
        bool good = false;
        try {
            good = work();
        } catch (const std::exception &error) {
            ::fprintf(stderr, "%s\n", error.what());
        }
        ::_exit(good ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST_F(EnvironmentTest, TakesTheSizeThatAnotherProcessGaveTheFile) {
    int ready[2];
    int grown[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(grown), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const auto environment = open(smallMap);
        char byte = 'r';
        bool good = ::write(ready[1], &byte, 1) == 1 && ::read(grown[0], &byte, 1) == 1;
        good = good && records(environment) == 100;
        ::_exit(good ? 0 : 1);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    putBytes(*open(), 100, 100000);
    ASSERT_EQ(::write(grown[1], &byte, 1), 1);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(EnvironmentTest, MakesDoWithLittleAddressSpace) {
    expectInChild([&] {
        const rlimit limit{std::size_t{4} << 30, std::size_t{4} << 30};
        if (::setrlimit(RLIMIT_AS, &limit) != 0) return false;
        putBytes(*open(), 10, 100000);
        return records(open()) == 10;
    });
}
#endif

/** As the first who opens it leaves it when it ends too early, and with one who waited for it. */
bool leaveWithoutACommit(const fs::path &directory, const FileDescriptor &lockFile) {
    MDB_env *env = nullptr;
    constexpr std::size_t tooLarge = std::size_t{1} << 60;
    struct flock shared {};
    shared.l_type = F_RDLCK;
    shared.l_whence = SEEK_SET;
    shared.l_len = 1;
    const bool isOpen = ::mdb_env_create(&env) == 0 && ::mdb_env_set_mapsize(env, tooLarge) == 0 &&
                        ::mdb_env_open(env, directory.c_str(), 0, 0600) == 0;
    ::mdb_env_close(env);
    return !isOpen && ::fcntl(lockFile.get(), F_SETLK, &shared) == 0;
}

// An old state would be read, and a new one written over the newest.
TEST_F(EnvironmentTest, IsNotOpenedWithALockFileThatNamesNoCommit) {
    putBytes(*open(), 1, 10);
    putBytes(*open(), 2, 10);
    int ready[2];
    int done[2];
    ASSERT_EQ(::pipe(ready) + ::pipe(done), 0);
    char byte = 0;
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(done[1]);
        const FileDescriptor lockFile(::open((directory_.path() / "lock.mdb").c_str(), O_RDWR));
        const bool isLeft = leaveWithoutACommit(directory_.path(), lockFile);
        const bool isTold = ::write(ready[1], &byte, 1) == 1 && ::read(done[0], &byte, 1) == 0;
        ::_exit(isLeft && isTold ? 0 : 1);
    }
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    std::string sentence;
    EXPECT_EQ(statusOf([&] { open(); }, &sentence), Status::storeFailed);
    EXPECT_THAT(sentence, HasSubstr("lock.mdb: it names no commit"));
    ::close(done[1]);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(records(open()), 2U);
}

TEST_F(EnvironmentTest, IsReadBy2048AtOnceAndTheFirstOneTooManyIsToldSo) {
    const auto environment = open();
    std::vector<std::unique_ptr<ReadTransaction>> readers;
    const auto fill = [&] {
        while (readers.size() < 10000)
            readers.push_back(std::make_unique<ReadTransaction>(environment));
    };
    std::string sentence;
    EXPECT_EQ(statusOf(fill, &sentence), Status::storeFailed);
    EXPECT_GE(readers.size(), 2048U);
    EXPECT_THAT(sentence, HasSubstr(": " + std::to_string(readers.size()) +
                                    " sessions read it, and there can be no more"));
    readers.pop_back();
    EXPECT_NO_THROW(const ReadTransaction inItsPlace(environment));
}

TEST_F(EnvironmentTest, WhoseTableOfReadersIsCutShortIsDamagedAndCloses) {
    for (const std::uintmax_t size : {0U, 64U, 4096U}) {
        const fs::path readers = directory_.path() / "lock.mdb";
        auto environment = open();
        const ReadTransaction before(environment);
        fs::resize_file(readers, size);
        std::string sentence;
        std::vector<std::unique_ptr<ReadTransaction>> more;  // the places of the first are there
        const Status status = statusOf(
            [&] {
                for (int i = 0; i < 200; ++i)
                    more.push_back(std::make_unique<ReadTransaction>(environment));
            },
            &sentence);
        EXPECT_EQ(status, Status::homeDamaged) << size;
        EXPECT_THAT(sentence, HasSubstr("lock.mdb is damaged: it was cut short"));
        fs::remove(readers);
    }
}

TEST_F(EnvironmentTest, GivesThePlacesOfDeadReadersBack) {
    expectInChild([&] {
        // Dies with its transaction open.
        new ReadTransaction(open());
        return true;
    });
    const auto environment = open();
    putBytes(*environment, 1, 1);
    const auto size = environment->fileSize();
    for (int turn = 0; turn < 30; ++turn)
        putBytes(*environment, 10, 100000);
    // A page is free again two transactions after it was replaced, unless somebody reads it.
    EXPECT_LT(environment->fileSize(), size + 5 * 1000000);
}

// As a user who may only read; root may write everything.
bool becomeNobody(const fs::path &directory) {
    constexpr uid_t nobody = 65534;
    if (::geteuid() != 0) return true;
    for (const auto &entry : fs::directory_iterator(directory))
        if (::chown(entry.path().c_str(), nobody, nobody) != 0) return false;
    return ::chown(directory.c_str(), nobody, nobody) == 0 && ::setgid(nobody) == 0 &&
           ::setuid(nobody) == 0;
}

TEST_F(EnvironmentTest, ThatNobodyMayWriteIsReadAndNotWritten) {
    putBytes(*open(), 3, 10);
    expectInChild([&] {
        if (!becomeNobody(directory_.path())) return false;
        for (const char *file : {"data.mdb", "lock.mdb"}) {
            if (::chmod((directory_.path() / file).c_str(), 0400) != 0) return false;
        }
        if (::chmod(directory_.path().c_str(), 0500) != 0) return false;
        const auto environment = open();
        const bool good = environment->readOnly() && records(environment) == 3 &&
                          statusOf([&] { putBytes(*environment, 1, 1); }) == Status::homeReadOnly;
        return ::chmod(directory_.path().c_str(), 0700) == 0 && good;
    });
}

TEST_F(EnvironmentTest, ThatMayNotBeReadIsUnreadable) {
    expectInChild([&] {
        if (!becomeNobody(directory_.path())) return false;
        if (::chmod((directory_.path() / "data.mdb").c_str(), 0) != 0) return false;
        return statusOf([&] { open(); }) == Status::homeUnreadable;
    });
}

TEST_F(EnvironmentTest, FilesArePrivate) {
    for (const char *file : {"data.mdb", "lock.mdb"}) {
        struct stat entry {};
        ASSERT_EQ(::stat((directory_.path() / file).c_str(), &entry), 0);
        EXPECT_EQ(entry.st_mode & 07777, 0600U) << file;
    }
}

TEST(FileLock, ExcludesOthersOfTheSameProcessAndTellsThatItWaits) {
    const support::TemporaryDirectory directory;
    const fs::path path = directory.path() / "lock";
    auto first = std::make_unique<FileLock>(path);
    bool waited = false;
    // The first holder lets go as soon as the second one says that it waits.
    const FileLock second(path, [&] {
        waited = true;
        first.reset();
    });
    EXPECT_TRUE(waited);
    EXPECT_TRUE(second.isAt(path));
    fs::remove(path);
    EXPECT_FALSE(second.isAt(path));
    directory.write("lock", "");
    EXPECT_FALSE(second.isAt(path));
}

TEST(PrivateFiles, AreReplacedAsAWhole) {
    const support::TemporaryDirectory directory;
    const fs::path path = directory.path() / "file";
    replacePrivateFile(path, "one");
    EXPECT_EQ(support::readFile(path), "one");
    replacePrivateFile(path, "");
    EXPECT_EQ(support::readFile(path), "");
    EXPECT_EQ(std::distance(fs::directory_iterator(directory.path()), {}), 1);
    EXPECT_EQ(statusOf([&] { replacePrivateFile(directory.path() / "no" / "file", "x"); }),
              Status::storeFailed);
}

}  // namespace
}  // namespace zdbs::embedded
