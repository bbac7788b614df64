// The index from values to paths is compared with the values.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/zdbs/embedded/store/model_document.h"
#include "tests/zdbs/embedded/store/test_home.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/snapshot.h"
#include "zdbs/embedded/store/writer.h"
#include "zdbs/embedded/values/value_test.h"

namespace zdbs::embedded {
namespace {

/** Values that repeat, numbers in several spellings, the empty one, and some of their own. */
std::string someValue(std::mt19937 &random) {
    static const std::string common[] = {"",   "0",   "-0.0", " 00 ", "5", "5.00", "yes",
                                         "no", "Yes", " yes", "\n",   "a", "b",    "c"};
    switch (random() % 8) {
        case 0:
            return "value " + std::to_string(random());
        case 1:
            return std::to_string(random() % 3000);
        case 2:
            return "of " + std::to_string(random() % 40);
        case 3:
            return std::string(random() % 500, 'x') + std::to_string(random());
        default:
            return common[random() % std::size(common)];
    }
}

ModelDocument documentWithValues(std::mt19937 &random, std::size_t nodes) {
    ModelDocument document = randomDocument(random, {nodes, 8, 5, 6});
    for (ModelNode &node : document) {
        if (node.kind != NodeKind::element) node.value = someValue(random);
    }
    return document;
}

/** Asks the index for each value of each path; answers how many those are. */
std::size_t compareWithValues(const Snapshot &snapshot) {
    std::size_t values = 0;
    for (PathId path = 0; path < snapshot.summary().size(); ++path) {
        for (const PathRun &run : snapshot.runs(path)) {
            std::set<ValueKey> keys;
            for (std::uint32_t row = 0; row < run.values.size(); ++row)
                keys.insert(valueKeyOf(run.values.at(row)));
            values += keys.size();
            for (const ValueKey key : keys) {
                const auto paths = snapshot.pathsWithKey(key);
                EXPECT_TRUE(std::is_sorted(paths->begin(), paths->end()));
                EXPECT_TRUE(std::binary_search(paths->begin(), paths->end(), path)) << path;
                EXPECT_TRUE(run.mayHold(key)) << path;
            }
        }
    }
    return values;
}

/** How many paths are named in vain for so many values that no node has. */
std::size_t namedInVain(const Snapshot &snapshot, std::size_t values) {
    std::size_t named = 0;
    for (std::size_t i = 0; i < values; ++i)
        named += snapshot.pathsWithKey(valueKeyOf("absent " + std::to_string(i)))->size();
    return named;
}

class ValueIndexOfStore : public testing::Test {
protected:
    std::unique_ptr<Writer> writer(const SegmentLimits &limits,
                                   const PathLimits &paths = {}) const {
        return std::make_unique<Writer>(Environment::open(test_.home->databasePath("db")),
                                        std::function<void()>(), limits, paths);
    }
    /** Commits one document. */
    void add(const std::string &name, const ModelDocument &document,
             const SegmentLimits &limits = {}, const PathLimits &paths = {}) const {
        const auto into = writer(limits, paths);
        write(*into, name, document);
        into->commit();
    }
    void remove(const std::string &name) const {
        const auto from = writer({});
        from->removeDocument(name);
        from->commit();
    }
    std::shared_ptr<const Snapshot> snapshot() const { return snapshotOf(*test_.home); }

    TestHome test_;
};

TEST_F(ValueIndexOfStore, LeavesOutNoPathOfAnySegment) {
    std::mt19937 random(1);
    const auto into = writer({3000, 1 << 20});
    for (const char *name : {"a", "b", "c"})
        write(*into, name, documentWithValues(random, 6000));
    into->commit();
    const auto state = snapshot();
    EXPECT_GE(state->segmentCount(), 6U);
    EXPECT_GT(compareWithValues(*state), 5000U);
    // Of each segment every 40th value or so.
    EXPECT_LT(namedInVain(*state, 2000), 2000 * state->segmentCount() / 20);
}

TEST_F(ValueIndexOfStore, LeavesOutNoPathOfALargeSegment) {
    std::mt19937 random(2);
    add("a", documentWithValues(random, 30000));
    EXPECT_EQ(snapshot()->segmentCount(), 1U);
    EXPECT_GT(compareWithValues(*snapshot()), 8000U);
    EXPECT_LT(namedInVain(*snapshot(), 2000), 100U);
}

TEST_F(ValueIndexOfStore, LeavesOutNoIrregularPath) {
    std::mt19937 random(3);
    add("a", documentWithValues(random, 4000), {1000, 1 << 20}, {3, 12});
    EXPECT_FALSE(snapshot()->summary().irregular().empty());
    EXPECT_GT(compareWithValues(*snapshot()), 1000U);
}

TEST_F(ValueIndexOfStore, IsThereAfterMergesRemovalsAndACompaction) {
    std::mt19937 random(4);
    const SegmentLimits limits{5000, 1 << 20};
    std::set<std::size_t> merged;
    for (int turn = 0; turn < 40; ++turn) {
        const auto into = writer(limits);
        write(*into, "d" + std::to_string(turn), documentWithValues(random, 20 + random() % 300));
        if (turn % 5 == 4) into->removeDocument("d" + std::to_string(turn - 2));
        into->commit();
        if (turn % 4 == 0) compareWithValues(*snapshot());
        merged.insert(snapshot()->segmentCount());
    }
    EXPECT_LT(*merged.rbegin(), 40U) << "segments were merged";
    const std::size_t before = compareWithValues(*snapshot());
    writer(limits)->compact();
    const std::size_t after = compareWithValues(*snapshot());
    EXPECT_LT(after, before) << "rows of removed documents are gone";
    EXPECT_GT(after, 1000U);
}

TEST_F(ValueIndexOfStore, OfRemovedValuesForgetsThemWithTheirRows) {
    std::mt19937 random(5);
    ModelDocument document = documentWithValues(random, 100);
    add("stays", document);
    for (ModelNode &node : document) {
        if (node.kind != NodeKind::element) node.value = "only here";
    }
    add("goes", document);
    const ValueKey key = valueKeyOf("only here");
    EXPECT_FALSE(snapshot()->pathsWithKey(key)->empty());
    remove("goes");
    writer({})->compact();
    EXPECT_TRUE(snapshot()->pathsWithKey(key)->empty());
}

TEST_F(ValueIndexOfStore, OfNoValuesIsEmpty) {
    add("a", {{NodeKind::element, noParent, 0, "a", "", "", "", {}}});
    EXPECT_EQ(snapshot()->segment(0).header().valuePathsBytes, 0U);
    EXPECT_TRUE(snapshot()->pathsWithKey(valueKeyOf(""))->empty());
}

TEST_F(ValueIndexOfStore, IsTheSameHoweverTheRowsCame) {
    std::mt19937 random(6);
    add("a", documentWithValues(random, 2000));
    const std::string bytes(snapshot()->segment(0).valuePathsBytes());
    EXPECT_GT(bytes.size(), 100U);
    add("b", documentWithValues(random, 2000));
    remove("b");
    writer({})->compact();
    EXPECT_EQ(snapshot()->segmentCount(), 1U);
    EXPECT_EQ(snapshot()->segment(0).valuePathsBytes(), bytes);
}

}  // namespace
}  // namespace zdbs::embedded
