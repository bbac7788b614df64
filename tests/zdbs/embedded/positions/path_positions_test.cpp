#include "zdbs/embedded/positions/path_positions.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "tests/zdbs/embedded/paths/sound_sets.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::embedded {
namespace {

using testing::allNodes;
using testing::isSound;
using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::PathTableOptions;
using testing::randomTable;
using testing::someNodes;

constexpr Relation comparisons[] = {Relation::equal,   Relation::notEqual,
                                    Relation::less,    Relation::lessEqual,
                                    Relation::greater, Relation::greaterEqual};
constexpr double places[] = {0, 1, 2, 3, 7, -1, -2, -3, 1.5, -1.5, 0.5, -0.5, 1e9, -1e9, 1e300};

bool satisfies(std::size_t position, std::size_t length, PositionTest test) {
    const double end = static_cast<double>(length) + 1;
    return holds(test.relation, static_cast<double>(position),
                 test.place < 0 ? end + test.place : test.place);
}

/** By definition: the siblings of each node, one after the other. */
NodeIds chosenByDefinition(const NodeTable &table, const NodeIds &nodes, PositionTest test) {
    std::map<ParentKey, NodeIds> siblings;
    DocumentFinder finder(table);
    for (NodeId node : nodes)
        siblings[parentKey(table, finder, node)].push_back(node);
    NodeIds result;
    for (const auto &[key, group] : siblings) {
        for (std::size_t i = 0; i < group.size(); ++i) {
            if (satisfies(i + 1, group.size(), test)) result.push_back(group[i]);
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

void compare(const MemoryPathTable &table, const NodeIds &nodes) {
    const PathNodes set = byPath(table, nodes);
    for (Relation relation : comparisons) {
        for (double place : places) {
            const PositionTest test{relation, place};
            const auto chosen = selectSiblingPositions(table, table, set, test);
            ASSERT_TRUE(chosen);
            ASSERT_TRUE(isSound(table, *chosen));
            ASSERT_EQ(nodeIdsOf(table, *chosen), chosenByDefinition(table, nodes, test))
                << static_cast<int>(relation) << " " << place;
        }
    }
}

TEST(PathPositions, AreCountedAmongSiblingsOnSmallForests) {
    for (int count = 1; count <= 4; ++count) {
        for (const MemoryNodeTable &nodes : testing::forestsOf(count)) {
            const MemoryPathTable table(nodes, {static_cast<std::uint32_t>(count % 3 + 1)});
            ASSERT_NO_FATAL_FAILURE(compare(table, allNodes(table))) << testing::shapeOf(table);
        }
    }
}

TEST(PathPositions, AreCountedAmongSiblingsOnRandomTables) {
    for (unsigned seed = 1; seed <= 6; ++seed) {
        std::mt19937 random(seed);
        const MemoryNodeTable nodes = randomTable(seed, 800);
        PathTableOptions options;
        options.nodesPerSegment = 1 + random() % 300;
        if (seed % 2 == 0 && nodes.documents().size() > 1) options.removed = {0};
        const MemoryPathTable table(nodes, options);
        for (unsigned oneIn : {1U, 2U, 60U})
            ASSERT_NO_FATAL_FAILURE(compare(table, someNodes(table, random, oneIn)));
    }
}

/** Groups of many lengths, some longer than what is read at a time. */
MemoryNodeTable longGroups() {
    MemoryNodeTable table;
    table.startDocument("long");
    table.startElement({"top"});
    for (int length : {3, 1500, 0, 1, 40, 2500, 2}) {
        table.startElement({"group"});
        for (int i = 0; i < length; ++i) {
            table.startElement({"item"});
            table.endElement();
            if (i % 3 == 0) table.text("t");
        }
        table.endElement();
    }
    table.endElement();
    table.endDocument();
    return table;
}

TEST(PathPositions, AreCountedInLongGroupsOfOnePathAndOfTwo) {
    const MemoryNodeTable nodes = longGroups();
    const MemoryPathTable table(nodes, {999});
    NodeIds all = allNodes(table);
    std::erase_if(all,
                  [&](NodeId node) { return table.summary()[table.locate(node).path].level < 3; });
    ASSERT_NO_FATAL_FAILURE(compare(table, all));
    std::erase_if(all, [&](NodeId node) { return table.kind(node) != NodeKind::element; });
    ASSERT_NO_FATAL_FAILURE(compare(table, all));
    std::erase_if(all, [&](NodeId node) { return node % 5 == 0; });
    ASSERT_NO_FATAL_FAILURE(compare(table, all));
}

TEST(PathPositions, AreCountedForFewNodesFarApart) {
    const MemoryNodeTable nodes = longGroups();
    const MemoryPathTable table(nodes);
    ASSERT_NO_FATAL_FAILURE(compare(table, {4, 6, 7, 5000, 5400, 5401}));
}

TEST(PathPositions, AreCountedForFewOfManyParents) {
    MemoryNodeTable nodes;
    nodes.startDocument("d");
    nodes.startElement({"top"});
    for (int i = 0; i < 400; ++i) {
        nodes.startElement({"group"});
        nodes.attribute({"x"}, "1");
        nodes.text("t");
        nodes.endElement();
    }
    nodes.endElement();
    nodes.endDocument();
    const MemoryPathTable table(nodes);
    ASSERT_NO_FATAL_FAILURE(compare(table, {3, 4, 10, 600, 601, 900}));
}

TEST(PathPositions, AreNotCountedOnIrregularPaths) {
    const MemoryNodeTable nodes = testing::tableFromXml("<a><b><c/></b></a>");
    PathTableOptions options;
    options.deepestLevel = 2;
    const MemoryPathTable table(nodes, options);
    const PositionTest first{Relation::equal, 1};
    EXPECT_FALSE(selectSiblingPositions(table, table, byPath(table, NodeIds{1, 3}), first));
    EXPECT_TRUE(selectSiblingPositions(table, table, byPath(table, NodeIds{1, 2}), first));
}

constexpr Axis stepAxes[] = {Axis::followingSibling, Axis::precedingSibling, Axis::ancestor,
                             Axis::ancestorOrSelf,   Axis::descendant,       Axis::descendantOrSelf,
                             Axis::following,        Axis::preceding};

/** By definition: the members on the axis of each context, one after the other. */
NodeIds chosenOnAxis(const NodeTable &table, Axis axis, const NodeIds &contexts,
                     const NodeIds &members, PositionTest test) {
    DocumentFinder finder(table);
    const auto point = [&](NodeId node) { return testing::Point{node, finder.indexOf(node)}; };
    std::set<NodeId> chosen;
    for (NodeId context : contexts) {
        NodeIds selected;
        for (NodeId member : members) {
            if (related(table, {axis}, point(context), point(member))) selected.push_back(member);
        }
        if (traitsOf(axis).isReverse()) std::reverse(selected.begin(), selected.end());
        for (std::size_t i = 0; i < selected.size(); ++i) {
            if (satisfies(i + 1, selected.size(), test)) chosen.insert(selected[i]);
        }
    }
    return {chosen.begin(), chosen.end()};
}

/** How many of the comparisons were answered by path. */
int compareOnAxes(const MemoryPathTable &table, const NodeIds &contexts, const NodeIds &members) {
    int answered = 0;
    for (Axis axis : stepAxes) {
        for (Relation relation : comparisons) {
            for (double place : places) {
                const PositionTest test{relation, place};
                const PathNodes from = byPath(table, contexts);
                const PathNodes to = byPath(table, members);
                const auto chosen = selectAxisPositions(table, table, {axis, {from, {}}, to}, test);
                if (!chosen) continue;
                ++answered;
                EXPECT_TRUE(isSound(table, *chosen));
                EXPECT_EQ(nodeIdsOf(table, *chosen),
                          chosenOnAxis(table, axis, contexts, members, test))
                    << testing::shapeOf(table) << " " << nameOf(axis) << " "
                    << static_cast<int>(relation) << " " << place;
                if (::testing::Test::HasFailure()) return answered;
            }
        }
    }
    return answered;
}

constexpr int comparisonsOfAllAxes =
    std::size(stepAxes) * std::size(comparisons) * std::size(places);

TEST(AxisPositions, AreThoseOfTheDefinitionOnSmallForests) {
    for (int count = 1; count <= 4; ++count) {
        for (const MemoryNodeTable &nodes : testing::forestsOf(count)) {
            const MemoryPathTable table(nodes, {static_cast<std::uint32_t>(count % 3 + 1)});
            const NodeIds all = allNodes(table);
            ASSERT_EQ(compareOnAxes(table, all, all), comparisonsOfAllAxes);
            if (HasFailure()) return;
        }
    }
}

#if defined(__SANITIZE_ADDRESS__)  // the definitions take minutes then
constexpr unsigned seeds = 2;
#else
constexpr unsigned seeds = 8;
#endif

TEST(AxisPositions, AreThoseOfTheDefinitionOnRandomTables) {
    for (unsigned seed = 1; seed <= seeds; ++seed) {
        std::mt19937 random(seed);
        const MemoryNodeTable nodes = randomTable(seed, 90);
        PathTableOptions options;
        options.nodesPerSegment = 1 + random() % 60;
        if (seed % 2 == 0 && nodes.documents().size() > 1) options.removed = {0};
        const MemoryPathTable table(nodes, options);
        const NodeIds all = allNodes(table);
        ASSERT_EQ(compareOnAxes(table, someNodes(table, random, 2), all), comparisonsOfAllAxes);
        for (unsigned oneIn : {1U, 2U, 9U}) {
            const NodeIds contexts = someNodes(table, random, oneIn);
            ASSERT_GT(compareOnAxes(table, contexts, someNodes(table, random, 3)), 0);
            ASSERT_GT(compareOnAxes(table, contexts, contexts), 0);
        }
        if (HasFailure()) return;
    }
}

/** The children of a group, some of one path and some of another, in an order of their own. */
TEST(AxisPositions, AreCountedInLongGroups) {
    MemoryNodeTable nodes;
    nodes.startDocument("d");
    nodes.startElement({"top"});
    for (int length : {3, 0, 130, 1, 2}) {
        nodes.startElement({"group"});
        for (int i = 0; i < length; ++i) {
            nodes.startElement({i % 4 == 1 ? "other" : "item"});
            nodes.endElement();
        }
        nodes.endElement();
    }
    nodes.endElement();
    nodes.endDocument();
    const MemoryPathTable table(nodes);
    NodeIds items = allNodes(table);
    EXPECT_EQ(compareOnAxes(table, items, items), comparisonsOfAllAxes);
    std::erase_if(items, [&](NodeId node) { return table.name(node).local != "item"; });
    EXPECT_EQ(compareOnAxes(table, items, items), comparisonsOfAllAxes);
    NodeIds some = items;
    std::erase_if(some, [](NodeId node) { return node % 3 == 0; });
    EXPECT_EQ(compareOnAxes(table, some, items), comparisonsOfAllAxes);
}

TEST(AxisPositions, AreCountedWhereAncestorsArePartsOfTheirPaths) {
    const MemoryNodeTable nodes = testing::tableFromXml("<a><b><c/></b><b><c/></b></a>");
    const MemoryPathTable table(nodes);
    const PathNodes contexts = byPath(table, NodeIds{3, 5});
    const PositionTest second{Relation::equal, 2};
    const auto of = [&](const NodeIds &members) {
        const PathNodes to = byPath(table, members);
        const auto chosen =
            selectAxisPositions(table, table, {Axis::ancestor, {contexts, {}}, to}, second);
        return chosen ? nodeIdsOf(table, *chosen) : NodeIds{noNode};
    };
    EXPECT_EQ(of({1, 2}), NodeIds{1});
    EXPECT_EQ(of({1, 2, 4}), NodeIds{1});
    EXPECT_EQ(of({2, 4}), NodeIds());
}

TEST(AxisPositions, AreCountedOnIrregularPathsButForSiblings) {
    const MemoryNodeTable nodes =
        testing::tableFromXml("<a><b><c/><d><e/></d><c>t</c></b><b><c/></b></a>");
    PathTableOptions options;
    options.deepestLevel = 2;
    const MemoryPathTable table(nodes, options);
    const NodeIds all = allNodes(table);
    constexpr int ofOneAxis = std::size(comparisons) * std::size(places);
    EXPECT_EQ(compareOnAxes(table, all, all), comparisonsOfAllAxes - 2 * ofOneAxis);
}

TEST(AxisPositions, AreNotCountedOnOtherAxes) {
    const MemoryPathTable table(testing::tableFromXml("<a><b/><c/></a>"));
    const PathNodes all = byPath(table, allNodes(table));
    for (Axis axis : {Axis::child, Axis::attribute, Axis::parent, Axis::self})
        EXPECT_FALSE(
            selectAxisPositions(table, table, {axis, {all, {}}, all}, {Relation::equal, 1}));
}

/** Members that are never above a context; before it there is then a range of them. */
TEST(AxisPositions, AreCountedBeforeContextsWhereNoMemberIsAboveOne) {
    const MemoryNodeTable nodes =
        testing::tableFromXml("<a><b><c/>t</b><c/><b><c/><c/>t</b><c><d/></c><b/></a>");
    const MemoryPathTable table(nodes);
    NodeIds members = allNodes(table);
    std::erase_if(members, [&](NodeId node) { return table.name(node).local != "c"; });
    NodeIds contexts = allNodes(table);
    std::erase_if(contexts, [&](NodeId node) { return table.name(node).local == "d"; });
    const PathNodes from = byPath(table, contexts);
    const PathNodes to = byPath(table, members);
    for (Relation relation : comparisons) {
        for (double place : places) {
            const PositionTest test{relation, place};
            const auto chosen =
                selectAxisPositions(table, table, {Axis::preceding, {from, {}}, to}, test);
            ASSERT_TRUE(chosen);
            EXPECT_EQ(nodeIdsOf(table, *chosen),
                      chosenOnAxis(table, Axis::preceding, contexts, members, test))
                << static_cast<int>(relation) << " " << place;
        }
    }
}

/** A root is a context of its own, for what is below it. */
TEST(AxisPositions, AreCountedBelowRoots) {
    const MemoryNodeTable nodes = testing::tableFromXml("<a><b/><b><b/></b></a>");
    const MemoryPathTable table(nodes);
    const PathNodes all = byPath(table, allNodes(table));
    const std::vector<DocumentIndex> roots{0};
    const auto last = selectAxisPositions(table, table, {Axis::descendant, {{}, roots}, all},
                                          {Relation::equal, -1});
    ASSERT_TRUE(last);
    EXPECT_EQ(nodeIdsOf(table, *last), NodeIds{4});
    const auto after = selectAxisPositions(table, table, {Axis::following, {{}, roots}, all},
                                           {Relation::equal, 1});
    ASSERT_TRUE(after);
    EXPECT_TRUE(after->empty());
}

TEST(SatisfyingPositions, AreThoseThatTheComparisonHoldsFor) {
    for (Relation relation : comparisons) {
        for (double place : places) {
            const SatisfyingPositions satisfying({relation, place});
            for (std::size_t length = 0; length <= 9; ++length) {
                std::vector<std::size_t> expected, found;
                for (std::size_t position = 1; position <= length; ++position) {
                    if (satisfies(position, length, {relation, place}))
                        expected.push_back(position);
                }
                for (const Positions &range : satisfying.of(length)) {
                    for (std::size_t position = range.first; position <= range.last; ++position)
                        found.push_back(position);
                }
                EXPECT_EQ(found, expected) << static_cast<int>(relation) << " " << place;
            }
        }
    }
}

}  // namespace
}  // namespace zdbs::embedded
