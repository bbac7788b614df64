// What is left when a change of the home or of a database is cut short: by a killed process, a
// full disk, a failed sync; at the first write or sync, the second, and so on until it gets
// through.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/zdbs/embedded/store/faults.h"
#include "tests/zdbs/embedded/store/model_document.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/embedded/store/tree_text.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs::embedded {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr SegmentLimits smallSegments{150, 20000};  // a few in a load of some hundred nodes

enum class End { killed, done, failed };

/** Does `work` in a process of its own that is killed in its n-th write, sync or rename. */
End inKilledChild(int n, const std::function<void()> &work) {
    const pid_t child = ::fork();
    if (child == 0) {
        faults::killAt(n);
        try {
            work();
        } catch (...) {
            ::_exit(2);
        }
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) return End::killed;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? End::done : End::failed;
}

class FaultTest : public testing::Test {
protected:
    FaultTest() {
        std::mt19937 random(1);
        old_ = randomDocument(random, {300, 10, 100, 10});
        fresh_ = randomDocument(random, {700, 10, 100, 10});
        const auto writer = test_.home->write("db");
        write(*writer, "old", old_);
        write(*writer, "second", old_);
        writer->commit();
    }

    /** Replaces one document and adds another, in several segments. */
    void change() const {
        Writer writer(Environment::open(test_.home->databasePath("db")), {}, smallSegments);
        writer.removeDocument("old");
        write(writer, "old", fresh_);
        write(writer, "new", fresh_);
        writer.commit();
    }

    void compact() const { Writer(Environment::open(test_.home->databasePath("db"))).compact(); }

    /** Files of segments, named by the catalogue or not. */
    std::size_t files() const {
        const auto path = test_.home->databasePath("db") / Environment::segmentsName;
        return static_cast<std::size_t>(
            std::distance(std::filesystem::directory_iterator(path), {}));
    }

    std::uint64_t storedNodes() const { return test_.home->state("db")->sizes().storedNodes; }

    /** "before", "after", or what is wrong. */
    std::string state() const {
        const auto snapshot = snapshotOf(*test_.home);
        const auto check = [&](std::string_view name, const ModelDocument &expected) {
            const auto range = snapshot->findDocument(name);
            return range ? difference(*snapshot, *range, expected) : "missing " + std::string(name);
        };
        if (!numberingFaults(*snapshot).empty()) return numberingFaults(*snapshot);
        const bool isNew = snapshot->findDocument("new").has_value();
        if (snapshot->documents().size() != (isNew ? 3 : 2)) return "number of documents";
        const std::string wrong = check("second", old_) + check("old", isNew ? fresh_ : old_) +
                                  (isNew ? check("new", fresh_) : "");
        if (!wrong.empty()) return wrong;
        return isNew ? "after" : "before";
    }

    TestHome test_;
    ModelDocument old_;
    ModelDocument fresh_;
};

TEST_F(FaultTest, KilledAtAnyWriteALoadHasHappenedOrNot) {
    int n = 1;
    int before = 0;
    for (End end = End::killed; end == End::killed; ++n) {
        end = inKilledChild(n, [&] { change(); });
        ASSERT_NE(end, End::failed);
        const std::string left = state();
        ASSERT_EQ(left, end == End::done || left == "after" ? "after" : "before") << n;
        if (end == End::killed && left == "after") {
            // Killed behind the last write: the load has happened, and cannot happen again.
            break;
        }
        before += left == "before";
    }
    EXPECT_GT(before, 10);
    EXPECT_EQ(state(), "after");
}

TEST_F(FaultTest, AfterAKilledLoadTheNextOneGetsThrough) {
    for (const int n : {3, 8, 12}) {
        ASSERT_EQ(inKilledChild(n, [&] { change(); }), End::killed);
        ASSERT_EQ(state(), "before");
    }
    change();
    EXPECT_EQ(state(), "after");
    EXPECT_EQ(files(), snapshotOf(*test_.home)->segmentCount()) << "of killed loads";
}

TEST_F(FaultTest, KilledAtAnyWriteACompactionHasHappenedOrNot) {
    change();
    const auto segments = snapshotOf(*test_.home)->segmentCount();
    ASSERT_LT(snapshotOf(*test_.home)->nodeCount(), storedNodes());
    int before = 0;
    int n = 1;
    for (End end = End::killed; end == End::killed; ++n) {
        end = inKilledChild(n, [&] { compact(); });
        ASSERT_NE(end, End::failed);
        ASSERT_EQ(state(), "after") << n;
        if (snapshotOf(*test_.home)->segmentCount() != segments) break;
        ++before;
    }
    EXPECT_GT(before, 5);
    EXPECT_EQ(storedNodes(), snapshotOf(*test_.home)->nodeCount());
    compact();
    (void)test_.home->write("db");
    EXPECT_EQ(files(), snapshotOf(*test_.home)->segmentCount()) << "of killed compactions";
    EXPECT_EQ(state(), "after");
}

struct FailureCase {
    faults::Call call;
    int error;
    Status status;
};

TEST_F(FaultTest, AnyFailedWriteOrSyncLeavesTheDatabaseAsItWas) {
    const FailureCase cases[] = {
        {faults::Call::write, ENOSPC, Status::diskFull},
        {faults::Call::write, EDQUOT, Status::diskFull},
        {faults::Call::write, EIO, Status::storeFailed},
        {faults::Call::sync, EIO, Status::storeFailed},
        {faults::Call::sync, ENOSPC, Status::diskFull},
    };
    for (const FailureCase &row : cases) {
        int failures = 0;
        for (int n = 1;; ++n) {
            faults::failAt(row.call, n, row.error);
            const Status status = statusOf([&] { change(); });
            faults::disarm();
            if (status == Status::ok) break;
            ASSERT_EQ(status, row.status) << n;
            ASSERT_EQ(state(), "before") << n;
            ++failures;
        }
        EXPECT_GT(failures, 3);
        EXPECT_EQ(state(), "after");
        const auto writer = test_.home->write("db");
        writer->removeDocument("old");
        writer->removeDocument("new");
        write(*writer, "old", old_);
        writer->commit();
    }
}

/** In a process of its own, in which that call fails: 0 when `work` gets through, 1 when it ends
 *  with a Failure or for want of memory, another number or a signal when not. */
int endOfFailingChild(faults::Call call, int n, int error, const std::function<void()> &work) {
    const pid_t child = ::fork();
    if (child == 0) {
        faults::failAt(call, n, error);
        try {
            work();
        } catch (const Failure &) {
            ::_exit(1);
        } catch (const std::bad_alloc &) {
            ::_exit(1);
        } catch (...) {
            ::_exit(2);
        }
        const bool isOver = faults::disarm() < n;
        ::_exit(isOver ? 0 : 3);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

struct CallCase {
    const char *name;
    faults::Call call;
    int error;
};

class FailingCall : public FaultTest, public testing::WithParamInterface<CallCase> {};

// Some are of no consequence, and what is done is done then; that many fail, and none does harm.
TEST_P(FailingCall, IsAFailureOrOfNoConsequence) {
    int failures = 0;
    const auto work = [&] {
        const auto home = Home::open(test_.home->path());
        (void)snapshotOf(*home);
        change();
    };
    for (int n = 1;; ++n) {
        ASSERT_EQ(state(), "before") << n;
        const int end = endOfFailingChild(GetParam().call, n, GetParam().error, work);
        ASSERT_TRUE(end == 0 || end == 1 || end == 3) << end << " at " << n;
        const std::string left = state();
        ASSERT_EQ(left, end == 1 ? "before" : "after") << n;
        failures += end == 1 ? 1 : 0;
        if (end == 0) break;
        if (end == 1) continue;
        const auto writer = test_.home->write("db");
        writer->removeDocument("old");
        writer->removeDocument("new");
        write(*writer, "old", old_);
        writer->commit();
    }
    // What is interrupted or comes half as far is done again; room was taken before.
    const bool mayBeNone = GetParam().error == EINTR ||
                           GetParam().call == faults::Call::shortWrite ||
                           GetParam().call == faults::Call::allocate;
    EXPECT_TRUE(mayBeNone || failures > 0);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, FailingCall,
    testing::Values(CallCase{"OpenWithoutDescriptors", faults::Call::open, EMFILE},
                    CallCase{"OpenForbidden", faults::Call::open, EACCES},
                    CallCase{"OpenOfADamagedDisk", faults::Call::open, EIO},
                    CallCase{"ReadOfADamagedDisk", faults::Call::read, EIO},
                    CallCase{"ReadInterrupted", faults::Call::read, EINTR},
                    CallCase{"MapWithoutMemory", faults::Call::map, ENOMEM},
                    CallCase{"AllocationWithoutRoom", faults::Call::allocate, ENOSPC},
                    CallCase{"AllocationInterrupted", faults::Call::allocate, EINTR},
                    CallCase{"WriteInterrupted", faults::Call::write, EINTR},
                    CallCase{"WriteOfAHalf", faults::Call::shortWrite, 0}),
    [](const auto &test) { return test.param.name; });

// Only where the very last write fails, the page that makes the commit true, nobody can tell.
TEST_F(FaultTest, SegmentsOfAFailedLoadAreRemovedUnlessTheNextStartCouldSeeIt) {
    const auto leftBy = [&](faults::Call call) {
        std::vector<std::size_t> left;
        for (int n = 1;; ++n) {
            faults::failAt(call, n, EIO);
            const Status status = statusOf([&] { change(); });
            faults::disarm();
            if (status == Status::ok) return left;
            left.push_back(files() - snapshotOf(*test_.home)->segmentCount());
        }
    };
    auto left = leftBy(faults::Call::write);
    ASSERT_GT(left.size(), 5U);
    EXPECT_GT(left.back(), 0U);
    left.pop_back();
    EXPECT_THAT(left, Each(0U));
    auto writer = test_.home->write("db");
    writer->removeDocument("new");
    writer->commit();
    writer.reset();
    EXPECT_THAT(leftBy(faults::Call::sync), AllOf(Not(IsEmpty()), Each(0U)));
}

TEST_F(FaultTest, AFailedSyncIsFinalAsLongAsTheDatabaseIsOpen) {
    const auto snapshot = snapshotOf(*test_.home);  // keeps it open
    faults::failAt(faults::Call::sync, 1, EIO);
    EXPECT_EQ(statusOf([&] { change(); }), Status::storeFailed);
    faults::disarm();
    std::string sentence;
    EXPECT_EQ(statusOf([&] { change(); }, &sentence), Status::storeFailed);
    EXPECT_THAT(sentence, HasSubstr("a write failed before"));
    EXPECT_EQ(state(), "before");
}

TEST_F(FaultTest, KilledAtAnyWriteUsersAreAsBeforeOrAsAfter) {
    test_.home->addUser("alice", "secret");
    End end = End::killed;
    for (int n = 1; end == End::killed; ++n) {
        end = inKilledChild(n, [&] { Home::open(test_.home->path())->grant("alice", "db"); });
        ASSERT_NE(end, End::failed);
        ASSERT_THAT(test_.home->users(), ElementsAre("alice"));
        if (test_.home->mayRead("alice", "db")) break;
    }
    EXPECT_TRUE(test_.home->mayRead("alice", "db"));
    EXPECT_NO_THROW(test_.home->revoke("alice", "db"));
}

TEST_F(FaultTest, KilledAtAnyWriteADatabaseIsMadeOrNot) {
    End end = End::killed;
    int missing = 0;
    for (int n = 1; end == End::killed && !test_.home->hasDatabase("made"); ++n) {
        end = inKilledChild(n, [&] { Home::open(test_.home->path())->createDatabase("made"); });
        ASSERT_NE(end, End::failed);
        missing += !test_.home->hasDatabase("made");
    }
    EXPECT_GT(missing, 3);
    EXPECT_THAT(test_.home->databases(), ElementsAre("db", "made"));
    EXPECT_THAT(snapshotOf(*test_.home, "made")->documents(), IsEmpty());
    test_.home->createDatabase("another");
    EXPECT_EQ(statusOf([&] { test_.home->createDatabase("made"); }), Status::databaseExists);
}

TEST_F(FaultTest, KilledAtAnyWriteADatabaseIsDroppedOrNotAndItsGrantsGoFirst) {
    test_.home->addUser("alice", "secret");
    test_.home->grant("alice", "db");
    End end = End::killed;
    for (int n = 1; end == End::killed && test_.home->hasDatabase("db"); ++n) {
        end = inKilledChild(n, [&] { Home::open(test_.home->path())->dropDatabase("db"); });
        ASSERT_NE(end, End::failed);
        if (test_.home->hasDatabase("db")) {
            ASSERT_EQ(state(), "before");
        }
    }
    EXPECT_FALSE(test_.home->hasDatabase("db"));
    EXPECT_FALSE(test_.home->mayRead("alice", "db"));
    test_.home->createDatabase("db");
    EXPECT_FALSE(test_.home->mayRead("alice", "db"));
}

TEST_F(FaultTest, KilledAtAnyWriteAHomeCanStillBeMade) {
    const std::filesystem::path path = test_.directory.path() / "another";
    End end = End::killed;
    int n = 1;
    for (; end == End::killed; ++n) {
        std::filesystem::remove_all(path);
        end = inKilledChild(n, [&] { Home::create(path); });
        ASSERT_NE(end, End::failed);
        const Status status = statusOf([&] { Home::create(path); });
        EXPECT_THAT(status, AnyOf(Status::ok, Status::homeExists));
        EXPECT_THAT(Home::open(path)->users(), IsEmpty());
        Home::open(path)->createDatabase("db");
    }
    EXPECT_GT(n, 3);
}

TEST_F(FaultTest, AFullDiskLeavesTheUsersAsTheyWere) {
    test_.home->addUser("alice", "secret");
    for (const auto call : {faults::Call::write, faults::Call::sync, faults::Call::rename}) {
        faults::failAt(call, 1, ENOSPC);
        EXPECT_EQ(statusOf([&] { test_.home->grant("alice", "*"); }), Status::diskFull);
        faults::disarm();
        EXPECT_THAT(test_.home->grants("alice"), IsEmpty());
    }
}

}  // namespace
}  // namespace zdbs::embedded
