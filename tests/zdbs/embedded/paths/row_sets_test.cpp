#include "zdbs/embedded/paths/row_sets.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/zdbs/embedded/paths/sound_sets.h"
#include "zdbs/embedded/paths/row_collector.h"
#include "zdbs/embedded/paths/row_reader.h"

namespace zdbs::embedded {
namespace {

using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::PathTableOptions;

using Rows = std::vector<RowId>;

RowSet setOf(const Rows &rows) {
    return RowSet(rows.size(), rows.data());
}

/** Rows below `end`, one in `oneIn` of them. */
Rows someRows(RowId end, unsigned oneIn, std::mt19937 &random) {
    Rows rows;
    for (RowId row = 0; row < end; ++row) {
        if (random() % oneIn == 0) rows.push_back(row);
    }
    return rows;
}

/** Adds rows by all the ways there are, changing from one to the other. */
RowSet collected(const Rows &rows, std::mt19937 &random) {
    RowCollector collector;
    for (std::size_t i = 0; i < rows.size();) {
        std::size_t end = std::min<std::size_t>(rows.size(), i + 1 + random() % 3000);
        const unsigned way = random() % 3;
        if (way == 0) {
            for (; i < end; ++i)
                collector.add(rows[i]);
        } else if (way == 1) {
            collector.add(std::span(rows).subspan(i, end - i));
            i = end;
        } else {
            end = i + 1;
            while (end < rows.size() && rows[end] == rows[end - 1] + 1)
                ++end;
            collector.addRange(rows[i], rows[end - 1] + 1);
            i = end;
        }
    }
    EXPECT_EQ(collector.size(), rows.size());
    return collector.finish();
}

TEST(RowCollectors, MakeTheSetOfTheRowsThatWereAdded) {
    std::mt19937 random(1);
    for (unsigned oneIn : {1U, 2U, 10U, 20U, 1000U, 100000U}) {
        for (RowId end : {1U, 63U, 4096U, 4097U, 65536U, 65537U, 200000U}) {
            const Rows rows = someRows(end, oneIn, random);
            EXPECT_EQ(collected(rows, random), setOf(rows)) << "one in " << oneIn << " of " << end;
        }
    }
}

TEST(RowCollectors, AddRangesOfAnyLengthAnywhere) {
    RowCollector collector;
    RowSet expected;
    const RowRange ranges[] = {{3, 4},
                               {5, 5},
                               {60, 70},
                               {128, 192},
                               {4000, 9000},
                               {9001, 9003},
                               {65535, 65537},
                               {70000, 270000},
                               {300000, 4000},
                               {393216, 458752},
                               {1u << 30, (1u << 30) + 5000}};
    for (const RowRange &range : ranges) {
        collector.addRange(range.first, range.end);
        if (range.first < range.end) expected.addRange(range.first, range.end);
    }
    EXPECT_EQ(collector.finish(), expected);
    EXPECT_EQ(collector.size(), 0U);
    collector.add(7);  // and can be used again
    EXPECT_EQ(collector.finish(), setOf({7}));
    EXPECT_EQ(collector.finish(), RowSet());
}

TEST(RowCollectors, TakeBits) {
    std::mt19937 random(2);
    for (unsigned oneIn : {1U, 2U, 15U, 17U, 100000U}) {
        const Rows rows = someRows(150000, oneIn, random);
        const RowBits bits(150000, setOf(rows));
        RowCollector collector;
        collector.addBits(bits.words());
        EXPECT_EQ(collector.finish(), setOf(rows));
    }
}

TEST(RowBits, HoldWhatWasAddedAndNothingBeyondTheirSize) {
    std::mt19937 random(3);
    for (unsigned oneIn : {1U, 2U, 100U}) {
        Rows rows = someRows(5000, oneIn, random);
        RowBits bits(5000, setOf(rows));
        bits.add(5000);
        bits.add(1u << 31);
        EXPECT_EQ(bits.count(), rows.size());
        for (RowId row = 0; row < 5100; ++row)
            ASSERT_EQ(bits.has(row), std::binary_search(rows.begin(), rows.end(), row));
        RowSet beyond = setOf(rows);
        beyond.addRange(4990, 6000);
        EXPECT_LE(RowBits(5000, beyond).count(), rows.size() + 10);
    }
}

TEST(RowMembers, AnswerAlikeForFewQuestionsAndForMany) {
    std::mt19937 random(4);
    const Rows rows = someRows(3000, 5, random);
    const RowSet set = setOf(rows);
    const RowMembers few(3000, set, 1);
    const RowMembers many(3000, set, 100000);
    for (RowId row = 0; row < 3000; ++row) {
        ASSERT_EQ(few.has(row), set.contains(row));
        ASSERT_EQ(many.has(row), set.contains(row));
    }
}

TEST(RowSums, AreAllThatWasAddedInAnyOrder) {
    std::mt19937 random(5);
    for (std::size_t count : {0U, 1U, 30U, 500U, 5000U}) {
        RowSum sum(20000);
        RowSet expected;
        Rows rows;
        for (std::size_t i = 0; i < count; ++i)
            rows.push_back(static_cast<RowId>(random() % 20000));
        for (std::size_t i = 0; i < count; i += 7) {
            const auto part = std::span(rows).subspan(i, std::min<std::size_t>(7, count - i));
            sum.add(part);
            expected.addMany(part.size(), part.data());
        }
        const RowSet more = setOf({1, 2, 19999});
        sum.add(more);
        expected |= more;
        EXPECT_EQ(sum.rows(), expected);
        EXPECT_EQ(sum.rows(), expected) << "asked again";
        EXPECT_EQ(sum.bits() == nullptr, count <= 500);
    }
}

TEST(RowRanges, AreTheNeighboursOfASet) {
    RowSet rows = setOf({0, 1, 2, 5, 7, 8});
    rows.addRange(100, 5000);
    const auto ranges = rangesOf(rows, 4);
    ASSERT_TRUE(ranges);
    const std::vector<std::pair<RowId, RowId>> expected{{0, 3}, {5, 6}, {7, 9}, {100, 5000}};
    ASSERT_EQ(ranges->size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_EQ(std::pair((*ranges)[i].first, (*ranges)[i].end), expected[i]);
    EXPECT_FALSE(rangesOf(rows, 3));
    EXPECT_TRUE(rangesOf(RowSet(), 0)->empty());
}

TEST(RowRanges, AreJoinedWhereTheyTouch) {
    RowRanges ranges{{8, 9}, {5, 5}, {0, 3}, {2, 4}, {4, 6}, {9, 7}};
    normalize(ranges);
    ASSERT_EQ(ranges.size(), 2U);
    EXPECT_EQ(std::pair(ranges[0].first, ranges[0].end), std::pair(0U, 6U));
    EXPECT_EQ(std::pair(ranges[1].first, ranges[1].end), std::pair(8U, 9U));
}

/** Everything that a reader says of its rows. */
void expectRead(const MemoryPathTable &table, PathId path, RowReader &&reader, const Rows &rows) {
    Rows found;
    std::array<std::uint32_t, RowReader::batchSize> nodes;
    std::array<std::uint32_t, RowReader::batchSize> parents;
    for (RowBatch batch; reader.next(batch);) {
        ASSERT_LE(batch.rows.size(), RowReader::batchSize);
        readNodes(batch, nodes);
        readParents(batch, parents);
        for (std::size_t i = 0; i < batch.rows.size(); ++i) {
            const PathRow place{path, batch.rows[i]};
            const PathId above = table.summary()[path].parent;
            ASSERT_EQ(&table.runOf(place), batch.run);
            ASSERT_EQ(nodes[i], table.nodeAt(place));
            ASSERT_EQ(table.nodeAt({above, parents[i]}), table.parent(nodes[i]));
        }
        found.insert(found.end(), batch.rows.begin(), batch.rows.end());
    }
    EXPECT_EQ(found, rows);
}

TEST(RowReaders, ReadSetsRangesBitsAndListsAlike) {
    MemoryNodeTable nodes;
    nodes.startDocument("d");
    nodes.startElement({"top"});
    for (int i = 0; i < 4000; ++i) {
        nodes.startElement({"e"});
        for (int below = i % 3; below > 0; --below)
            nodes.comment("c");
        nodes.endElement();
    }
    nodes.endElement();
    nodes.endDocument();
    std::mt19937 random(6);
    for (std::uint32_t perSegment : {700U, 100000U}) {
        PathTableOptions options;
        options.nodesPerSegment = perSegment;
        const MemoryPathTable table(nodes, options);
        const PathId path = table.locate(4).path;
        for (unsigned oneIn : {1U, 2U, 30U, 3000U}) {
            const Rows rows = someRows(table.rowCount(path), oneIn, random);
            const RowSet set = setOf(rows);
            const RowBits bits(table.rowCount(path), set);
            expectRead(table, path, RowReader(table, path, set), rows);
            expectRead(table, path, RowReader(table, path, bits), rows);
            expectRead(table, path, RowReader(table, path, std::span(rows)), rows);
        }
        expectRead(table, path, RowReader(table, path, RowSet()), {});
    }
}

}  // namespace
}  // namespace zdbs::embedded
