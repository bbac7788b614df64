// Loads of real documents that are killed or meet a full disk at a write of their own choice.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <random>
#include <string>

#include "tests/zdbs/embedded/store/faults.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "tests/zdbs/embedded/store/tree_text.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/loader.h"

namespace zdbs {

using namespace embedded;
namespace {

constexpr const char *largeFile = "/usr/share/mime/packages/freedesktop.org.xml";
constexpr const char *smallFile = "/usr/share/xml/iso-codes/iso_3166-1.xml";

void loadFiles(Home &home, std::initializer_list<const char *> files) {
    Writer writer(Environment::open(home.databasePath("db")), {}, {20000, 1 << 20});
    Loader loader(writer);
    for (const char *file : files)
        loader.load(*openFile(file), file, file + 1);
    writer.commit();
}

std::string documentsOf(Home &home) {
    std::string names;
    const auto snapshot = snapshotOf(home);
    for (const DocumentRange &document : snapshot->documents())
        names.append(document.name).append("\n");
    return names;
}

int writesOfTheLoad() {
    TestHome test;
    faults::killAt(INT_MAX);
    loadFiles(*test.home, {largeFile, smallFile});
    return faults::disarm();
}

TEST(KilledLoad, OfRealDocumentsLeavesTheDatabaseAsItWas) {
    TestHome test;
    const char *before = "/usr/share/X11/xkb/rules/base.xml";
    loadFiles(*test.home, {before});
    const auto expected = treeText(*snapshotOf(*test.home));
    std::mt19937 random(1);
    const int writes = writesOfTheLoad();
    ASSERT_GT(writes, 5);
    int killed = 0;
    for (int turn = 0; turn < 12; ++turn) {
        const int n = 1 + static_cast<int>(random() % writes);
        const pid_t child = ::fork();
        if (child == 0) {
            faults::killAt(n);
            loadFiles(*Home::open(test.home->path()), {largeFile, smallFile});
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        if (!WIFSIGNALED(status)) {
            ASSERT_EQ(status, 0);
            break;
        }
        ++killed;
        const auto snapshot = snapshotOf(*test.home);
        ASSERT_EQ(numberingFaults(*snapshot), "");
        if (snapshot->documents().size() == 1) {
            ASSERT_EQ(treeText(*snapshot), expected);
            continue;
        }
        ASSERT_EQ(snapshot->documents().size(), 3U);
        break;
    }
    EXPECT_GT(killed, 0);
    if (snapshotOf(*test.home)->documents().size() == 1)
        loadFiles(*test.home, {largeFile, smallFile});
    EXPECT_EQ(documentsOf(*test.home),
              std::string(before + 1) + "\n" + (largeFile + 1) + "\n" + (smallFile + 1) + "\n");
    EXPECT_EQ(numberingFaults(*snapshotOf(*test.home)), "");
}

TEST(KilledLoad, OnAFullDiskTellsSoAndLeavesTheDatabaseAsItWas) {
    TestHome test;
    for (int n = 1; n < 12; n += 2) {
        faults::failAt(faults::Call::write, n, ENOSPC);
        const Status status = statusOf([&] { loadFiles(*test.home, {largeFile}); });
        faults::disarm();
        ASSERT_EQ(status, Status::diskFull) << n;
        ASSERT_TRUE(snapshotOf(*test.home)->documents().empty());
    }
    loadFiles(*test.home, {largeFile});
    EXPECT_EQ(numberingFaults(*snapshotOf(*test.home)), "");
}

}  // namespace
}  // namespace zdbs
