// Every damage is found and named, and nobody who reads or writes a damaged database comes to
// harm by it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <string>

#include "tests/zdbs/embedded/check/damage_list.h"
#include "tests/zdbs/embedded/check/damaged_database.h"
#include "tests/zdbs/embedded/check/damaged_use.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/check/check.h"
#include "zdbs/embedded/store/committed_state.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/load/loader.h"

namespace zdbs::embedded {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::ResultOf;

std::string textOf(const CheckReport &report) {
    std::string text;
    for (const Finding &finding : report.findings)
        text += finding.toString() + "\n";
    return text;
}

/** Does the work in a process of its own; true when that ends by itself. */
bool survives(const std::function<void()> &work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(120);
        attempt(work);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/** Does the work in a process of its own; true when nothing fails there. */
bool succeeds(const std::function<void()> &work) {
    return survives([&] {
        try {
            work();
        } catch (const Failure &) {
            ::_exit(1);
        }
    });
}

TEST(DamagedDatabase, IsSoundBeforeItIsDamaged) {
    const DamagedDatabase database;
    const CheckReport report = checkDatabase(database.path());
    EXPECT_EQ(textOf(report), "");
    EXPECT_EQ(report.found, 0U);
    EXPECT_THAT(report.notes, IsEmpty());
    EXPECT_EQ(report.documents, 5U);
    EXPECT_EQ(report.segments, database.segmentCount());
    EXPECT_GE(report.segments, 3U);
    EXPECT_GT(report.nodes, 3000U);
}

TEST(DamagedDatabase, OfAnotherFormatIsAFailure) {
    const DamagedDatabase database;
    database.put("meta", std::string(versionKey), encodeNumber(formatOfParts + 1));
    EXPECT_THROW(checkDatabase(database.path()), Failure);
}

TEST(DamagedDatabase, ThatIsNotThereIsAFailure) {
    const DamagedDatabase database;
    EXPECT_THROW(checkDatabase(database.home() / "databases" / "another"), Failure);
}

TEST(DamagedDatabase, WithAnotherByteInAnyRecordIsRefusedAndTold) {
    for (const char *table :
         {"meta", "documents", "documentNames", "names", "paths", "segments", "longElements"}) {
        const DamagedDatabase database;
        database.spoilRecord(table);
        EXPECT_THAT(
            textOf(checkDatabase(database.path())),
            HasSubstr("table " + std::string(table) + ": checksums: the record of the key "));
        if (std::string_view(table) == "documentNames") continue;  // read when a name is looked for
        EXPECT_THROW(Home::open(database.home())->state("db"), Failure) << table;
    }
}

TEST(DamagedDatabase, FilesThatAreLeftOverAreNotes) {
    const DamagedDatabase database;
    DamagedDatabase::write(database.path() / "segments" / "00000099.seg", "x");
    DamagedDatabase::write(database.path() / "core", "x");
    const CheckReport report = checkDatabase(database.path());
    EXPECT_EQ(report.found, 0U);
    EXPECT_THAT(report.notes, testing::UnorderedElementsAre(HasSubstr("segments/00000099.seg: "),
                                                            HasSubstr("core: ")));
}

TEST(DamagedDatabase, ReportsProgressFromNothingToAll) {
    const DamagedDatabase database;
    std::uint64_t before = 0;
    std::uint64_t end = 0;
    CheckOptions options;
    options.progress = [&](std::uint64_t done, std::uint64_t total) {
        EXPECT_GE(done, before);
        EXPECT_LE(done, total);
        before = done;
        end = total;
    };
    checkDatabase(database.path(), options);
    EXPECT_EQ(before, end);
    EXPECT_GT(end, 0U);
}

TEST(DamagedDatabase, OfAnyExtentGivesAListThatCanBeRead) {
    const DamagedDatabase database;
    database.changePath("/items/item", [](SegmentImage &image, std::uint32_t local) {
        edit(image.column(local, SegmentColumn::below), [](std::vector<std::uint32_t> &below) {
            for (std::uint32_t &number : below)
                ++number;
        });
    });
    const CheckReport report = checkDatabase(database.path());
    EXPECT_GT(report.found, 100U);
    EXPECT_LT(report.findings.size(), 20U);
    EXPECT_THAT(textOf(report), HasSubstr(" more there)"));
}

class DamageTest : public testing::TestWithParam<Damage> {
protected:
    DamageTest() { GetParam().inflict(database_); }

    DamagedDatabase database_;
};

TEST_P(DamageTest, IsFoundAndNamed) {
    const CheckReport report = checkDatabase(database_.path());
    EXPECT_LE(report.findings.size(), 1000U);
    if (GetParam().found == nullptr) return;
    EXPECT_GT(report.found, 0U);
    EXPECT_THAT(textOf(report), HasSubstr(GetParam().found));
}

TEST_P(DamageTest, DoesNoHarmToWhoReads) {
    EXPECT_TRUE(survives([&] { readAll(database_); }));
}

TEST_P(DamageTest, DoesNoHarmToWhoQueries) {
    EXPECT_TRUE(survives([&] { query(database_); }));
}

TEST_P(DamageTest, DoesNoHarmToWhoWrites) {
    EXPECT_TRUE(survives([&] { change(database_); }));
}

TEST_P(DamageTest, IsRefusedByWhoWritesWhereWhoReadsRefusesIt) {
    const bool isRead = succeeds([&] { Home::open(database_.home())->state("db"); });
    const bool isWritten = succeeds([&] {
        const auto writer = Home::open(database_.home())->write("db");
        Loader(*writer).load(*openText("<items/>"), "new", "new");
        writer->commit();
    });
    EXPECT_TRUE(isRead || !isWritten);
}

std::string nameOf(const testing::TestParamInfo<Damage> &test) {
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(Files, DamageTest, testing::ValuesIn(fileDamages()), nameOf);
INSTANTIATE_TEST_SUITE_P(Catalogue, DamageTest, testing::ValuesIn(catalogueDamages()), nameOf);
INSTANTIATE_TEST_SUITE_P(Segments, DamageTest, testing::ValuesIn(segmentDamages()), nameOf);

class ScrambledTest : public testing::TestWithParam<std::uint32_t> {};

TEST_P(ScrambledTest, ColumnsDoNoHarm) {
    support::Choices random(GetParam());
    for (int turn = 0; turn < 8; ++turn) {
        const DamagedDatabase database;
        database.change(random() % database.segmentCount(),
                        [&](SegmentImage &image) { scramble(image, random); });
        ASSERT_TRUE(survives([&] { checkDatabase(database.path()); })) << turn;
        ASSERT_TRUE(survives([&] { readAll(database); })) << turn;
        ASSERT_TRUE(survives([&] { query(database); })) << turn;
        ASSERT_TRUE(survives([&] { change(database); })) << turn;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, ScrambledTest, testing::Range(1U, 11U));

}  // namespace
}  // namespace zdbs::embedded
