// What segments find by words is compared with testing value by value.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <random>
#include <string>

#include "tests/zdbs/embedded/store/model_document.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/embedded/values/value_test.h"

namespace zdbs::embedded {
namespace {

std::string sentence(std::mt19937 &random) {
    std::string text;
    for (std::size_t words = 10 + random() % 30; words > 0; --words)
        text += "w" + std::to_string(random() % (1 + random() % 400)) + " ";
    return text + std::to_string(random() % 300) + ".";
}

/** An element with so many of another one, each with a text. */
ModelDocument proseDocument(std::mt19937 &random, std::size_t texts) {
    ModelDocument document = {{NodeKind::element, noParent, texts * 2, "prose", "", "", "", {}}};
    for (std::size_t i = 0; i < texts; ++i) {
        const std::size_t at = document.size();
        document.push_back({NodeKind::element, 0, at + 1, "p", "", "", "", {}});
        document.push_back({NodeKind::text, at, at + 1, "", "", "", sentence(random), {}});
    }
    return document;
}

/** Compares rows and hits of every column; answers in how many words were used. */
std::size_t compareWithValues(const Snapshot &snapshot) {
    std::size_t byWords = 0;
    for (const char *needle : {"w399", "w17 w", "w2", "299.", "nowhere", "w"}) {
        const ValueTest test(Relation::contains, needle, Comparing::asTexts);
        for (PathId path = 0; path < snapshot.summary().size(); ++path) {
            for (const PathRun &run : snapshot.runs(path)) {
                const FoundRows found = run.values.find(test);
                byWords += found.index() == ValueIndex::words ? 1 : 0;
                std::uint32_t rows = 0;
                std::uint64_t hits = 0;
                for (std::uint32_t row = 0; row < run.values.size(); ++row) {
                    const std::size_t here = test.countHits(run.values.at(row));
                    rows += here > 0 ? 1 : 0;
                    hits += here;
                }
                EXPECT_EQ(found.count(), rows) << needle;
                EXPECT_EQ(found.hits(), hits) << needle;
            }
        }
    }
    return byWords;
}

TEST(WordIndexOfStore, FindsTheSameInSeveralSegmentsAfterRemovalsAndACompaction) {
    std::mt19937 random(1);
    TestHome test;
    const auto writer = [&] {
        return std::make_unique<Writer>(Environment::open(test.home->databasePath("db")),
                                        std::function<void()>(), SegmentLimits{6000, 1 << 22});
    };
    for (const char *name : {"a", "b"}) {
        const auto into = writer();
        write(*into, name, proseDocument(random, 5000));
        into->commit();
    }
    const auto before = snapshotOf(*test.home);
    EXPECT_GE(before->segmentCount(), 4U);
    const std::uint64_t wordsBefore = test.home->state("db")->sizes().words;
    EXPECT_GT(wordsBefore, 1000U);
    EXPECT_GT(compareWithValues(*before), 8U);

    {
        const auto from = writer();
        from->removeDocument("a");
        from->commit();
    }
    EXPECT_GT(compareWithValues(*snapshotOf(*test.home)), 4U);
    writer()->compact();
    const auto after = snapshotOf(*test.home);
    EXPECT_LT(test.home->state("db")->sizes().words, wordsBefore);
    EXPECT_GT(compareWithValues(*after), 4U);
}

}  // namespace
}  // namespace zdbs::embedded
