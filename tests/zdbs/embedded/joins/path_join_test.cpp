#include "zdbs/embedded/joins/path_join.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/zdbs/embedded/paths/sound_sets.h"

namespace zdbs::embedded {
namespace {

using testing::allNodes;
using testing::allPaths;
using testing::forestsOf;
using testing::isSound;
using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::PathTableOptions;
using testing::randomTable;
using testing::shapeOf;
using testing::someNodes;

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

/** One side, for the general joins and for those by path. */
struct Side {
    NodeIds nodes;
    DocumentIndexes roots;
    PathNodes paths;

    Side() = default;
    Side(const MemoryPathTable &table, NodeIds from, DocumentIndexes rootsFrom)
        : nodes(std::move(from)), roots(std::move(rootsFrom)), paths(byPath(table, nodes)) {}

    Operand operand() const { return {nodes, roots}; }
    PathOperand pathOperand() const { return {paths, roots}; }
};

bool hasIrregular(const PathTable &table, const PathNodes &nodes) {
    return std::any_of(nodes.begin(), nodes.end(),
                       [&](const PathPart &part) { return !table.summary()[part.path].isRegular; });
}

/** Siblings are the one thing that is not answered for irregular nodes. */
bool mayRefuse(const PathTable &table, Step step, const PathNodes &a, const PathNodes &b) {
    const bool areSiblings =
        step.axis == Axis::followingSibling || step.axis == Axis::precedingSibling;
    return areSiblings && (hasIrregular(table, a) || hasIrregular(table, b));
}

/** How often a join was one for the other way. */
struct Counts {
    int answers = 0;
    int refusals = 0;
};

/** Compares both directions of one join with the general way; says what differs. */
std::string difference(const MemoryPathTable &table, Step step, const Side &a, const Side &b,
                       Counts &counts) {
    const auto first = keepFirst(table, table, step, a.pathOperand(), b.pathOperand());
    const auto second = keepSecond(table, table, step, a.pathOperand(), b.paths);
    if ((!first || !second) && !mayRefuse(table, step, a.paths, b.paths)) return "refused";
    counts.answers += (first ? 1 : 0) + (second ? 1 : 0);
    counts.refusals += (first ? 0 : 1) + (second ? 0 : 1);
    if (first) {
        const Selection expected = keepFirst(table, step, a.operand(), b.operand());
        if (nodeIdsOf(table, first->nodes) != expected.nodes) return "first side";
        if (first->roots != expected.roots) return "roots";
        if (!isSound(table, first->nodes)) return "form of the first side";
    }
    if (second) {
        const NodeIds expected = keepSecond(table, step, a.operand(), b.nodes);
        if (nodeIdsOf(table, *second) != expected) return "second side";
        if (!isSound(table, *second)) return "form of the second side";
    }
    return "";
}

void compare(const MemoryPathTable &table, const Side &a, const Side &b, Counts &counts) {
    for (Step step : allSteps()) {
        const std::string wrong = difference(table, step, a, b, counts);
        ASSERT_EQ(wrong, "") << nameOf(step.axis)
                             << (step.attributesAreChildren ? " with attributes" : "")
                             << (a.nodes.size() + b.nodes.size() > 40
                                     ? ""
                                     : " of " + ::testing::PrintToString(a.nodes) + " and " +
                                           ::testing::PrintToString(b.nodes) + " in " +
                                           shapeOf(table));
    }
}

DocumentIndexes allRoots(const NodeTable &table) {
    DocumentIndexes result;
    for (DocumentIndex i = 0; i < table.documents().size(); ++i)
        result.push_back(i);
    return result;
}

DocumentIndexes someRoots(const NodeTable &table, std::mt19937 &random) {
    DocumentIndexes result = allRoots(table);
    const unsigned oneIn = 1 + random() % 3;
    std::erase_if(result, [&](DocumentIndex) { return random() % oneIn != 0; });
    return result;
}

/** Every choice of nodes, with no root and with all. */
std::vector<Side> allSides(const MemoryPathTable &table) {
    const NodeIds nodes = allNodes(table);
    std::vector<Side> result;
    for (unsigned bits = 0; bits < 1U << nodes.size(); ++bits) {
        NodeIds chosen;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if ((bits >> i & 1U) != 0) chosen.push_back(nodes[i]);
        }
        result.emplace_back(table, chosen, DocumentIndexes());
        result.emplace_back(table, chosen, allRoots(table));
    }
    return result;
}

PathTableOptions segmentsOf(std::uint32_t nodes) {
    PathTableOptions options;
    options.nodesPerSegment = nodes;
    return options;
}

TEST(PathJoins, AnswerAsTheGeneralOnesForAllChoicesOnEveryForestOfUpToThreeNodes) {
    Counts counts;
    for (int count = 1; count <= 3; ++count) {
        for (const MemoryNodeTable &nodes : forestsOf(count)) {
            const MemoryPathTable table(nodes, segmentsOf(static_cast<std::uint32_t>(count)));
            const std::vector<Side> sides = allSides(table);
            for (const Side &a : sides) {
                for (const Side &b : sides)
                    ASSERT_NO_FATAL_FAILURE(compare(table, a, b, counts));
            }
        }
    }
    EXPECT_EQ(counts.refusals, 0);
}

/** Segments of one to three nodes, and one document or another removed. */
PathTableOptions variantOf(const MemoryNodeTable &nodes, unsigned variant) {
    PathTableOptions options = segmentsOf(1 + variant % 3);
    const auto documents = static_cast<DocumentIndex>(nodes.documents().size());
    if (variant % 2 == 0 && documents > 1) options.removed = {variant / 2 % documents};
    options.withRuns = variant % 5 != 0;
    return options;
}

TEST(PathJoins, AnswerAsTheGeneralOnesOnEveryForestOfFourAndFiveNodes) {
    Counts counts;
    std::mt19937 random(1);
    unsigned variant = 0;
    for (int count = 4; count <= 5; ++count) {
        for (const MemoryNodeTable &nodes : forestsOf(count)) {
            const MemoryPathTable table(nodes, variantOf(nodes, variant++));
            for (int round = 0; round < (count == 4 ? 60 : 12); ++round) {
                const Side a(table, someNodes(table, random, 1 + random() % 3),
                             someRoots(table, random));
                const Side b(table, someNodes(table, random, 1 + random() % 3),
                             someRoots(table, random));
                ASSERT_NO_FATAL_FAILURE(compare(table, a, b, counts));
            }
        }
    }
    EXPECT_EQ(counts.refusals, 0);
}

/** A side of one of the forms that have ways of their own: whole paths, few nodes, ranges. */
Side randomSide(const MemoryPathTable &table, std::mt19937 &random) {
    const NodeIds all = allNodes(table);
    PathNodes whole = wholePaths(table, allPaths(table));
    const unsigned form = random() % 7;
    if (form == 0) return {table, all, allRoots(table)};
    if (form == 1) return {table, someNodes(table, random, 300), {}};
    if (form == 2) return {table, someNodes(table, random, 2), someRoots(table, random)};
    if (form == 3) return {table, {all[random() % all.size()]}, {}};
    const unsigned oneIn = 1 + random() % 12;
    std::erase_if(whole, [&](const PathPart &) { return random() % oneIn != 0; });
    NodeIds nodes = nodeIdsOf(table, whole);
    if (form == 4) return {table, nodes, {}};
    const std::size_t first = nodes.empty() ? 0 : random() % nodes.size();
    if (form == 5) {
        nodes.resize(first);  // the first part of some paths
    } else {
        std::erase_if(nodes, [&](NodeId) { return random() % 9 == 0; });
    }
    return {table, nodes, form == 6 ? someRoots(table, random) : DocumentIndexes()};
}

TEST(PathJoins, AnswerAsTheGeneralOnesOnRandomTables) {
    Counts counts;
    for (unsigned seed = 1; seed <= 24; ++seed) {
        std::mt19937 random(seed);
        const MemoryNodeTable nodes = randomTable(seed, 1200);
        PathTableOptions options = segmentsOf(1 + random() % 400);
        const auto documents = static_cast<DocumentIndex>(nodes.documents().size());
        if (seed % 2 == 0 && documents > 2) options.removed = {0, seed % documents};
        const MemoryPathTable table(nodes, options);
        for (int round = 0; round < 12; ++round) {
            const Side a = randomSide(table, random);
            const Side b = randomSide(table, random);
            ASSERT_NO_FATAL_FAILURE(compare(table, a, b, counts)) << "seed " << seed;
        }
    }
    EXPECT_EQ(counts.refusals, 0);
}

TEST(PathJoins, AnswerAsTheGeneralOnesWithIrregularNodesAllButSiblings) {
    Counts counts;
    for (unsigned seed = 1; seed <= 24; ++seed) {
        std::mt19937 random(seed);
        const MemoryNodeTable nodes = randomTable(seed, 600);
        PathTableOptions options = segmentsOf(1 + random() % 200);
        if (seed % 2 == 0) options.deepestLevel = random() % 5;
        if (seed % 2 == 1) options.mostPaths = random() % 20;
        const MemoryPathTable table(nodes, options);
        for (int round = 0; round < 12; ++round) {
            const Side a = randomSide(table, random);
            const Side b = randomSide(table, random);
            ASSERT_NO_FATAL_FAILURE(compare(table, a, b, counts)) << "seed " << seed;
        }
    }
    EXPECT_GT(counts.refusals, 0);
}

TEST(PathJoins, LeaveVeryManyIrregularNodesToTheGeneralOnes) {
    MemoryNodeTable nodes;
    nodes.startDocument("d");
    nodes.startElement({"top"});
    for (int i = 0; i <= 100'000; ++i)
        nodes.comment("c");
    nodes.endElement();
    nodes.startElement({"other"});
    nodes.endElement();
    nodes.endDocument();
    PathTableOptions options;
    options.deepestLevel = 1;
    const MemoryPathTable table(nodes, options);
    const PathNodes top = byPath(table, NodeIds{1});
    PathNodes comments = wholePaths(table, table.summary().irregular());
    const DocumentIndexes roots{0};
    const auto answers = [&](Axis axis, const PathOperand &first) {
        return keepFirst(table, table, {axis}, first, {comments, {}}).has_value() &&
               keepSecond(table, table, {axis}, first, comments).has_value();
    };
    EXPECT_FALSE(answers(Axis::child, {top, {}}));
    EXPECT_FALSE(answers(Axis::descendant, {top, {}}));
    EXPECT_TRUE(answers(Axis::following, {top, {}}));
    EXPECT_TRUE(keepSecond(table, table, {Axis::descendant}, {top, roots}, comments));
    RowSet fewer = *comments[0].rows;
    fewer.remove(0);
    comments[0].rows = std::make_shared<const RowSet>(fewer);
    EXPECT_TRUE(answers(Axis::child, {top, {}}));
    EXPECT_TRUE(answers(Axis::descendant, {top, {}}));
}

/** Counts how often columns are asked for. */
class WatchedTable final : public PathTable {
public:
    explicit WatchedTable(const PathTable &table) : table_(table) {}

    const PathSummary &summary() const override { return table_.summary(); }
    const NodeName &nameOf(std::uint32_t number) const override { return table_.nameOf(number); }
    const RowSetPtr &liveRows(PathId path) const override { return table_.liveRows(path); }
    PathRow locate(NodeId node) const override { return table_.locate(node); }
    NodeId lastBelow(PathRow row) const override { return table_.lastBelow(row); }
    std::span<const PathRun> runs(PathId path) const override {
        ++asked;
        return table_.runs(path);
    }

    mutable int asked = 0;

private:
    const PathTable &table_;
};

TEST(PathJoins, OfWholePathsDownwardsReadNoColumn) {
    const MemoryNodeTable nodes = randomTable(7, 500);
    const MemoryPathTable table(nodes);
    const WatchedTable watched(table);
    const PathNodes everything = wholePaths(table, allPaths(table));
    const DocumentIndexes roots = allRoots(table);
    for (Step step : {Step{Axis::child}, Step{Axis::child, true}, Step{Axis::attribute},
                      Step{Axis::descendant}, Step{Axis::descendantOrSelf}, Step{Axis::self}}) {
        const auto all = keepSecond(table, watched, step, {everything, {}}, everything);
        EXPECT_EQ(watched.asked, 0) << nameOf(step.axis);
        ASSERT_TRUE(all);
        const Side side(table, allNodes(table), {});
        EXPECT_EQ(nodeIdsOf(table, *all), keepSecond(table, step, side.operand(), side.nodes));
    }
    const auto descendants =
        keepSecond(table, watched, {Axis::descendant}, {{}, roots}, everything);
    EXPECT_EQ(watched.asked, 0);
    ASSERT_TRUE(descendants);
    EXPECT_EQ(nodeIdsOf(table, *descendants),
              keepSecond(table, {Axis::descendant}, {{}, roots}, allNodes(table)));
}

std::vector<PathId> pathsOf(const PathNodes &nodes) {
    std::vector<PathId> result;
    for (const PathPart &part : nodes)
        result.push_back(part.path);
    return result;
}

bool areAmong(const PathTable &table, const NodeIds &nodes, const std::vector<PathId> &paths) {
    return std::all_of(nodes.begin(), nodes.end(), [&](NodeId node) {
        return std::binary_search(paths.begin(), paths.end(), table.locate(node).path);
    });
}

TEST(PathsOfSteps, MissNoPathThatHasAnAnswer) {
    for (unsigned seed = 1; seed <= 24; ++seed) {
        std::mt19937 random(seed);
        const MemoryNodeTable nodes = randomTable(seed, 300);
        PathTableOptions options;
        if (seed % 3 == 0) options.deepestLevel = random() % 5;
        const MemoryPathTable table(nodes, options);
        for (int round = 0; round < 8; ++round) {
            const Side a = randomSide(table, random);
            const Side b = randomSide(table, random);
            for (Step step : allSteps()) {
                const auto reached = pathsReached(table.summary(), step, pathsOf(a.paths),
                                                  !a.roots.empty(), pathsOf(b.paths));
                const auto reaching =
                    pathsReaching(table.summary(), step, pathsOf(a.paths), pathsOf(b.paths));
                EXPECT_TRUE(areAmong(table, keepSecond(table, step, a.operand(), b.nodes), reached))
                    << nameOf(step.axis) << " seed " << seed;
                const Selection first = keepFirst(table, step, a.operand(), {b.nodes, {}});
                EXPECT_TRUE(areAmong(table, first.nodes, reaching))
                    << nameOf(step.axis) << " seed " << seed;
            }
        }
    }
}

TEST(PathsOfSteps, AreNoMoreThanTheSummaryAllows) {
    const MemoryNodeTable nodes =
        testing::tableFromXml("<a><b x='1'><c>t</c></b><d><c>t</c><!--n--></d></a>");
    const MemoryPathTable table(nodes);
    const auto pathOf = [&](NodeId node) { return table.locate(node).path; };
    const PathId a = pathOf(1), b = pathOf(2), x = pathOf(3), bc = pathOf(4), d = pathOf(6);
    const PathId dc = pathOf(7), text = pathOf(8), comment = pathOf(9);
    const std::vector<PathId> all = allPaths(table);
    using Paths = std::vector<PathId>;
    const auto reached = [&](Axis axis, Paths first, bool roots = false) {
        return pathsReached(table.summary(), {axis}, first, roots, all);
    };
    EXPECT_EQ(reached(Axis::child, {b}), (Paths{bc}));
    EXPECT_EQ(reached(Axis::child, {}, true), (Paths{a}));
    EXPECT_EQ(reached(Axis::attribute, {b, d}), (Paths{x}));
    EXPECT_EQ(reached(Axis::descendant, {d}), (Paths{dc, text, comment}));
    EXPECT_EQ(reached(Axis::descendantOrSelf, {dc}), (Paths{dc, text}));
    EXPECT_EQ(reached(Axis::parent, {bc, dc}), (Paths{b, d}));
    EXPECT_EQ(reached(Axis::ancestor, {dc}), (Paths{a, d}));
    EXPECT_EQ(reached(Axis::ancestorOrSelf, {x}), (Paths{a, b, x}));
    EXPECT_EQ(reached(Axis::followingSibling, {dc}), (Paths{dc, comment}));
    EXPECT_EQ(reached(Axis::followingSibling, {x}), (Paths{}));
    EXPECT_EQ(reached(Axis::self, {x}), (Paths{x}));
    EXPECT_EQ(reached(Axis::namespaceNode, {a}), (Paths{}));
    EXPECT_EQ(pathsReaching(table.summary(), {Axis::child}, all, Paths{x, dc}), (Paths{d}));
    EXPECT_EQ(pathsReaching(table.summary(), {Axis::child, true}, all, Paths{x}), (Paths{b}));
    EXPECT_EQ(pathsReaching(table.summary(), {Axis::parent}, all, Paths{b}), (Paths{x, bc}));
}

}  // namespace
}  // namespace zdbs::embedded
