/** Lists of nodes by path, and those whose values are still to be looked at. */
#include <gtest/gtest.h>

#include <memory>
#include <numeric>

#include "tests/zdbs/support/memory_node_table.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "zdbs/embedded/positions/list_joins.h"
#include "zdbs/embedded/sets/node_list.h"

namespace zdbs::embedded {
namespace {

using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::PathTableOptions;

NodeIds listed(const NodeListPtr &list) {
    return {list->ids().begin(), list->ids().end()};
}

class PathList : public ::testing::Test {
protected:
    static PathTableOptions shortSegments() {
        PathTableOptions options;
        options.nodesPerSegment = 3;
        return options;
    }

    NodeListPtr whole(NodeKind kind) const {
        return makeList(table_, wholePaths(table_, of(kind)));
    }

    std::vector<PathId> of(NodeKind kind) const {
        std::vector<PathId> paths;
        for (PathId path = 0; path < table_.summary().size(); ++path) {
            if (table_.summary()[path].kind == kind) paths.push_back(path);
        }
        return paths;
    }

    NodeListPtr pending(NodeKind kind, std::vector<ValueCondition> conditions) const {
        auto shared = std::make_shared<const ValueConditions>(std::move(conditions));
        return std::make_shared<NodeList>(
            table_, PendingNodes(table_, wholePaths(table_, of(kind)), shared, plan_));
    }

    static ValueCondition equals(const char *text, bool negated = false) {
        return {{Relation::equal, text, Comparing::asNumbers}, negated};
    }

    // 1 a, 2 @x, 3 b, 4 @x, 5 text, 6 b, 7 text, 8 c, 9 @x, 10 text
    MemoryNodeTable nodes_ =
        testing::tableFromXml("<a x='w'><b x='v'>v</b><b>u</b><c x='v'>v</c></a>");
    MemoryPathTable table_{nodes_, shortSegments()};
    PlanPtr plan_ = std::make_shared<Plan>();
};

TEST_F(PathList, AnswersAsOneOfNumbers) {
    const NodeListPtr texts = whole(NodeKind::text);
    const NodeListPtr numbers = makeList({5, 7, 10});
    ASSERT_EQ(texts->size(), 3U);
    for (std::size_t place = 0; place < 3; ++place)
        EXPECT_EQ(texts->at(place), numbers->at(place));
    for (NodeId node = 1; node <= 10; ++node)
        EXPECT_EQ(texts->contains(node), numbers->contains(node)) << node;
    EXPECT_EQ(listed(texts), listed(numbers));
    EXPECT_EQ(texts->numbers(), (NodeIds{5, 7, 10}));
    EXPECT_EQ(nodeIdsOf(table_, numbers->byPath(table_)), (NodeIds{5, 7, 10}));
}

TEST_F(PathList, AnswersTheSameHoweverOftenItIsAsked) {
    const NodeListPtr texts = whole(NodeKind::text);
    for (int time = 0; time < 20; ++time) {
        EXPECT_EQ(texts->at(0), 5U);
        EXPECT_EQ(texts->at(2), 10U);
    }
    EXPECT_EQ(texts->byPath(table_).size(), 2U);
}

TEST_F(PathList, OfEverythingIsEveryPathWhole) {
    const NodeListPtr everything = NodeList::everythingIn(table_);
    EXPECT_EQ(everything->size(), 10U);
    EXPECT_EQ(everything->table(), &table_);
    for (const PathPart &part : everything->byPath(table_))
        EXPECT_TRUE(isWhole(table_, part));
    EXPECT_EQ(everything->byPath(table_).size(), table_.summary().size());
}

TEST_F(PathList, ThatIsPendingHoldsWhatPassesEveryCondition) {
    EXPECT_EQ(listed(pending(NodeKind::text, {equals("v")})), (NodeIds{5, 10}));
    EXPECT_EQ(listed(pending(NodeKind::text, {equals("v", true)})), (NodeIds{7}));
    EXPECT_EQ(listed(pending(NodeKind::text, {equals("v"), equals("u", true)})), (NodeIds{5, 10}));
    EXPECT_EQ(listed(pending(NodeKind::text, {equals("v", true), equals("u", true)})), NodeIds{});
    EXPECT_EQ(listed(pending(NodeKind::attribute, {equals("v"), equals("u")})), NodeIds{});
    EXPECT_EQ(listed(pending(NodeKind::element, {equals("v")})), NodeIds{});
    EXPECT_EQ(listed(pending(NodeKind::element, {equals("v", true)})), (NodeIds{1, 3, 6, 8}));
}

TEST_F(PathList, ThatIsPendingDecidesOnlyThePathsAskedFor) {
    const NodeListPtr list = pending(NodeKind::text, {equals("u")});
    const std::vector<PathId> paths = list->pathsIn(table_);
    ASSERT_EQ(paths.size(), 2U);  // of b and of c
    EXPECT_TRUE(list->nodesIn(table_, std::span(paths).subspan(1)).empty());
    EXPECT_TRUE(list->isPending());
    EXPECT_EQ(list->pathsIn(table_), std::vector<PathId>{paths.front()}) << "the other has none";
    EXPECT_FALSE(list->empty());
    EXPECT_TRUE(list->isPending());
    EXPECT_EQ(list->size(), 1U);
    EXPECT_FALSE(list->isPending());
    EXPECT_EQ(listed(list), NodeIds{7});
}

TEST_F(PathList, ThatIsPendingStaysSoWithoutAttributesAndOfAttributes) {
    std::vector<PathId> paths(table_.summary().size());
    std::iota(paths.begin(), paths.end(), PathId{0});
    const auto condition = std::make_shared<const ValueConditions>(ValueConditions{equals("v")});
    const NodeListPtr list = std::make_shared<NodeList>(
        table_, PendingNodes(table_, wholePaths(table_, paths), condition, plan_));
    const NodeListPtr rest = NodeList::withoutAttributes(table_, list);
    EXPECT_TRUE(rest->isPending());
    EXPECT_EQ(listed(rest), (NodeIds{5, 10}));
    EXPECT_EQ(NodeList::withoutAttributes(table_, rest), rest) << "nothing is left out";
    const NodeListPtr attributes = NodeList::attributesOf(table_, list);
    EXPECT_TRUE(attributes->isPending());
    EXPECT_EQ(listed(attributes), listed(pending(NodeKind::attribute, {equals("v")})));
    EXPECT_TRUE(list->isPending());
}

TEST_F(PathList, IsItselfWhereNothingIsLeftOut) {
    const NodeListPtr texts = whole(NodeKind::text);
    EXPECT_EQ(NodeList::withoutAttributes(table_, texts), texts);
    EXPECT_EQ(listed(NodeList::attributesOf(table_, texts)), NodeIds{});
    const NodeListPtr some = makeList(NodeIds{1, 4, 5, 7});
    EXPECT_EQ(listed(NodeList::withoutAttributes(table_, some)), (NodeIds{1, 5, 7}));
    EXPECT_EQ(listed(NodeList::attributesOf(table_, some)), NodeIds{4});
}

/** Only texts of b are looked at: those of c stay undecided. */
TEST_F(PathList, ThatIsPendingIsDecidedWhereAJoinCanReachIt) {
    const NodeListPtr list = pending(NodeKind::text, {equals("v")});
    const NodeListPtr parents = makeList(NodeIds{3, 6});
    const ContextList kept =
        keepFirst(table_, {Axis::child}, {parents, nullptr}, {list, nullptr}, nullptr);
    EXPECT_EQ(listed(kept.nodes), NodeIds{3});
    EXPECT_TRUE(list->isPending());
    const NodeListPtr reached =
        keepSecond(table_, {Axis::child}, {parents, nullptr}, list, nullptr);
    EXPECT_EQ(listed(reached), NodeIds{5});
    EXPECT_TRUE(list->isPending());
    EXPECT_EQ(listed(list), (NodeIds{5, 10}));
}

TEST_F(PathList, NotesTheIndexesWhenTheyAreUsed) {
    const NodeListPtr list = pending(NodeKind::text, {equals("v")});
    EXPECT_EQ(plan_->text(), "");
    EXPECT_EQ(list->size(), 2U);
    EXPECT_NE(plan_->text(), "");
}

TEST_F(PathList, AlgebraIsThatOfNumbersWhateverTheForms) {
    const NodeListPtr texts = pending(NodeKind::text, {equals("v")});  // 5 10
    const NodeListPtr some = makeList(NodeIds{1, 4, 5, 7});
    const NodeListPtr attributes = whole(NodeKind::attribute);  // 2 4 9
    EXPECT_EQ(listed(intersected(texts, some)), NodeIds{5});
    EXPECT_EQ(listed(intersected(some, attributes)), NodeIds{4});
    EXPECT_EQ(listed(subtracted(texts, some)), NodeIds{10});
    EXPECT_EQ(listed(subtracted(some, texts)), (NodeIds{1, 4, 7}));
    const std::vector<NodeListPtr> lists{texts, some, attributes};
    EXPECT_EQ(listed(united(lists)), (NodeIds{1, 2, 4, 5, 7, 9, 10}));
    EXPECT_EQ(intersected(texts, texts), texts);
}

TEST_F(PathList, IsAllAttributesByItsPaths) {
    EXPECT_TRUE(allAttributes(table_, whole(NodeKind::attribute)));
    EXPECT_TRUE(allAttributes(table_, pending(NodeKind::attribute, {equals("v")})));
    EXPECT_FALSE(allAttributes(table_, whole(NodeKind::text)));
    EXPECT_FALSE(allAttributes(table_, makeList(NodeIds{})));
    EXPECT_TRUE(allAttributes(table_, makeList(NodeIds{2, 9})));
    EXPECT_FALSE(allAttributes(table_, makeList(NodeIds{2, 5})));

    // Texts are among the candidates until it is seen that none passes.
    std::vector<PathId> paths(table_.summary().size());
    std::iota(paths.begin(), paths.end(), PathId{0});
    auto once = std::make_shared<const ValueConditions>(ValueConditions{equals("w")});
    EXPECT_TRUE(allAttributes(
        table_, std::make_shared<NodeList>(
                    table_, PendingNodes(table_, wholePaths(table_, paths), once, plan_))));
}

}  // namespace
}  // namespace zdbs::embedded
