#include "zdbs/embedded/joins/join.h"

#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <random>

#include "tests/zdbs/embedded/joins/naive_axes.h"

namespace zdbs::embedded {
namespace {

using testing::forestsOf;
using testing::Point;
using testing::randomTable;
using testing::related;
using testing::shapeOf;

const std::vector<Step> &allSteps() {
    static const std::vector<Step> steps = [] {
        std::vector<Step> result;
        for (int axis = 0; axis < 13; ++axis)
            result.push_back({static_cast<Axis>(axis)});
        result.push_back({Axis::child, true});
        return result;
    }();
    return steps;
}

/** One side as points and as an operand. */
struct Side {
    std::vector<Point> points;
    NodeIds nodes;
    DocumentIndexes roots;

    void add(Point point) {
        points.push_back(point);
        if (point.node != noNode) {
            nodes.push_back(point.node);
        } else {
            roots.push_back(point.document);
        }
    }

    Operand operand() const { return {nodes, roots}; }
};

/** The members of `points` whose bit is set. */
Side chosen(const std::vector<Point> &points, unsigned bits) {
    Side side;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if ((bits >> i & 1U) != 0) side.add(points[i]);
    }
    return side;
}

Side firstByDefinition(const NodeTable &table, Step step, const Side &a, const Side &b) {
    Side result;
    for (Point x : a.points) {
        bool hasPartner = std::any_of(b.points.begin(), b.points.end(),
                                      [&](Point y) { return related(table, step, x, y); });
        if (hasPartner) result.add(x);
    }
    return result;
}

Side secondByDefinition(const NodeTable &table, Step step, const Side &a, const Side &b) {
    Side result;
    for (Point y : b.points) {
        bool hasPartner = std::any_of(a.points.begin(), a.points.end(),
                                      [&](Point x) { return related(table, step, x, y); });
        if (hasPartner && y.node != noNode) result.add(y);
    }
    return result;
}

::testing::AssertionResult agree(const NodeTable &table, Step step, const Side &a, const Side &b) {
    Selection first = keepFirst(table, step, a.operand(), b.operand());
    Side expected = firstByDefinition(table, step, a, b);
    if (first.nodes != expected.nodes || first.roots != expected.roots) {
        return ::testing::AssertionFailure() << "first side";
    }
    if (keepSecond(table, step, a.operand(), b.nodes) !=
        secondByDefinition(table, step, a, b).nodes) {
        return ::testing::AssertionFailure() << "second side";
    }
    return ::testing::AssertionSuccess();
}

/** The related pairs of a few points, as bits: of each x the y's, and of each y the x's. */
struct RelatedBits {
    RelatedBits(const NodeTable &table, Step step, const std::vector<Point> &points)
        : forward(points.size()), backward(points.size()) {
        for (std::size_t x = 0; x < points.size(); ++x) {
            for (std::size_t y = 0; y < points.size(); ++y) {
                if (!related(table, step, points[x], points[y])) continue;
                forward[x] |= 1U << y;
                backward[y] |= 1U << x;
            }
        }
    }

    /** Those of `members` with a partner in `others`. */
    static unsigned kept(const std::vector<unsigned> &partners, unsigned members, unsigned others) {
        unsigned result = 0;
        for (std::size_t i = 0; i < partners.size(); ++i) {
            if ((members >> i & 1U) != 0 && (partners[i] & others) != 0) result |= 1U << i;
        }
        return result;
    }

    std::vector<unsigned> forward;
    std::vector<unsigned> backward;
};

/** Compares for every choice of nodes and roots on both sides. */
void compareAllChoices(const NodeTable &table) {
    std::vector<Point> points = testing::nodesOf(table);
    std::vector<Point> roots = testing::rootsOf(table);
    points.insert(points.end(), roots.begin(), roots.end());
    std::vector<Side> sides;
    for (unsigned bits = 0; bits < 1U << points.size(); ++bits) {
        sides.push_back(chosen(points, bits));
    }
    for (Step step : allSteps()) {
        RelatedBits relation(table, step, points);
        for (unsigned a = 0; a < sides.size(); ++a) {
            for (unsigned b = 0; b < sides.size(); ++b) {
                Selection first = keepFirst(table, step, sides[a].operand(), sides[b].operand());
                NodeIds second = keepSecond(table, step, sides[a].operand(), sides[b].nodes);
                const Side &expected = sides[RelatedBits::kept(relation.forward, a, b)];
                bool agree = first.nodes == expected.nodes && first.roots == expected.roots &&
                             second == sides[RelatedBits::kept(relation.backward, b, a)].nodes;
                ASSERT_TRUE(agree)
                    << nameOf(step.axis) << (step.attributesAreChildren ? " with attributes " : " ")
                    << a << " " << b << " in " << shapeOf(table);
            }
        }
    }
}

/** The same with random choices, for tables that have too many. */
void compareRandomChoices(const NodeTable &table, unsigned seed, int count) {
    std::mt19937 random(seed);
    std::vector<Point> points = testing::nodesOf(table);
    std::vector<Point> roots = testing::rootsOf(table);
    points.insert(points.end(), roots.begin(), roots.end());
    std::sort(points.begin(), points.end());
    auto choose = [&](unsigned oneIn) {
        Side side;
        for (Point point : points) {
            if (random() % oneIn == 0) side.add(point);
        }
        return side;
    };
    for (int i = 0; i < count; ++i) {
        Side first = choose(1 + i % 7);
        Side second = choose(1 + i % 5);
        for (Step step : allSteps()) {
            ASSERT_TRUE(agree(table, step, first, second))
                << nameOf(step.axis) << " round " << i << " in " << shapeOf(table);
        }
    }
}

TEST(Forests, AreAllThatCanBeBuiltOnceEach) {
    const std::array<std::size_t, 5> expected{0, 1, 4, 17, 75};
    for (int count = 1; count <= 4; ++count) {
        std::vector<testing::MemoryNodeTable> forests = forestsOf(count);
        std::set<std::string> shapes;
        for (const NodeTable &table : forests)
            shapes.insert(shapeOf(table));
        EXPECT_EQ(shapes.size(), forests.size());
        EXPECT_EQ(forests.size(), expected.at(static_cast<std::size_t>(count)));
    }
}

TEST(Joins, AnswerWhatTheAxesSayOnEveryForestOfUpToThreeNodes) {
    for (int count = 1; count <= 3; ++count) {
        for (const NodeTable &table : forestsOf(count))
            compareAllChoices(table);
    }
}

TEST(Joins, AnswerWhatTheAxesSayOnEveryForestOfFourNodes) {
    unsigned seed = 1;
    for (const NodeTable &table : forestsOf(4)) {
        if (table.documents().size() <= 2) {
            compareAllChoices(table);
        } else {
            compareRandomChoices(table, seed++, 200);
        }
    }
}

TEST(Joins, AnswerWhatTheAxesSayOnForestsOfFiveAndSixNodes) {
    unsigned seed = 1;
    for (int count = 5; count <= 6; ++count) {
        for (const NodeTable &table : forestsOf(count))
            compareRandomChoices(table, seed++, 6);
    }
}

TEST(Joins, AnswerWhatTheAxesSayOnRandomTables) {
    for (unsigned seed = 1; seed <= 60; ++seed) {
        testing::MemoryNodeTable table = randomTable(seed, 10 + static_cast<int>(seed));
        compareRandomChoices(table, seed, 8);
    }
}

TEST(Joins, OfEmptySidesAreEmpty) {
    testing::MemoryNodeTable table = testing::tableFromXml("<a><b/></a>");
    NodeIds all{1, 2};
    for (Step step : allSteps()) {
        EXPECT_TRUE(keepFirst(table, step, {}, {all, {}}).nodes.empty());
        EXPECT_TRUE(keepFirst(table, step, {all, {}}, {}).nodes.empty());
        EXPECT_TRUE(keepSecond(table, step, {}, all).empty());
        EXPECT_TRUE(keepSecond(table, step, {all, {}}, {}).empty());
    }
}

TEST(Joins, OfAnEmptyTableAreEmpty) {
    testing::MemoryNodeTable table;
    for (Step step : allSteps()) {
        EXPECT_TRUE(keepFirst(table, step, {}, {}).nodes.empty());
        EXPECT_TRUE(keepSecond(table, step, {}, {}).empty());
    }
}

/** A wide table or a deep one of so many elements, each with an attribute. */
testing::MemoryNodeTable largeTable(int elements, bool isDeep) {
    testing::MemoryNodeTable table;
    table.startDocument("large");
    table.startElement({"top"});
    for (int i = 0; i < elements; ++i) {
        table.startElement({"e"});
        table.attribute({"a"}, "v");
        if (!isDeep) table.endElement();
    }
    for (int i = 0; isDeep && i < elements; ++i)
        table.endElement();
    table.endElement();
    table.endDocument();
    return table;
}

/** No time is measured: a join that compared pair by pair would take 10^10 steps here. */
TEST(Joins, OfAHundredThousandNodesWithAHundredThousandAreNoPairByPairAffair) {
    for (bool isDeep : {false, true}) {
        testing::MemoryNodeTable table = largeTable(50000, isDeep);
        NodeIds all(100001);
        std::iota(all.begin(), all.end(), 1);
        DocumentIndexes roots{0};
        for (Step step : allSteps()) {
            Selection first = keepFirst(table, step, {all, roots}, {all, roots});
            NodeIds second = keepSecond(table, step, {all, roots}, all);
            EXPECT_EQ(first.nodes.empty(), step.axis == Axis::namespaceNode ||
                                               (isDeep && (step.axis == Axis::followingSibling ||
                                                           step.axis == Axis::precedingSibling ||
                                                           step.axis == Axis::preceding)))
                << nameOf(step.axis);
            EXPECT_EQ(second.empty(), first.nodes.empty()) << nameOf(step.axis);
        }
    }
}

TEST(AllAttributes, WantsAttributesAndNothingElse) {
    testing::MemoryNodeTable table = testing::tableFromXml("<a x='1' y='2'/>");
    EXPECT_TRUE(allAttributes(table, NodeIds{2, 3}));
    EXPECT_FALSE(allAttributes(table, NodeIds{1, 2}));
    EXPECT_FALSE(allAttributes(table, NodeIds{}));
}

}  // namespace
}  // namespace zdbs::embedded
