/** Whole sequences of operations, compared with the same ones by definition. */
#include "zdbs/embedded/evaluate/set_algebra.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <sstream>

#include "tests/zdbs/embedded/evaluate/naive_sets.h"
#include "tests/zdbs/support/memory_path_table.h"

namespace zdbs::embedded {
namespace {

using testing::MemoryNodeTable;
using testing::MemoryPathTable;
using testing::NaiveSets;
using testing::PathTableOptions;

/** Makes the same sets by the algebra and by definition. */
class Both {
public:
    explicit Both(const NodeTable &table) : table_(table), universe_(table), naive_(table) {
        sets_.push_back(universe_.set());
        log_ << testing::shapeOf(table);
    }

    std::size_t size() const { return sets_.size(); }
    std::string log() const { return log_.str(); }

    void plain(const NodeIds &nodes) {
        log_ << "\nplain";
        for (NodeId node : nodes)
            log_ << " " << node;
        keep(plainSet(nodes), naive_.plain(nodes));
    }

    void join(Axis axis, std::size_t a, std::size_t b, Direction direction) {
        log_ << "\nXPATH(" << nameOf(axis) << "," << a << "," << b << ","
             << static_cast<int>(direction) << ")";
        keep(embedded::join(table_, universe_, axis, sets_[a], sets_[b], direction),
             naive_.join(axis, a, b, direction));
    }

    void select(std::size_t set, PositionTest test) {
        log_ << "\nposition in " << set << " " << static_cast<int>(test.relation) << " "
             << test.place;
        keep(selectPositions(table_, sets_[set], test), naive_.select(set, test));
    }

    void intersect(std::size_t a, std::size_t b) {
        log_ << "\n" << a << " and " << b;
        keep(embedded::intersect(sets_[a], sets_[b]), naive_.intersect(a, b));
    }

    void subtract(std::size_t a, std::size_t b) {
        log_ << "\n" << a << " not " << b;
        keep(embedded::subtract(sets_[a], sets_[b]), naive_.subtract(a, b));
    }

    void unite(std::size_t a, std::size_t b) {
        log_ << "\n" << a << " or " << b;
        std::vector<NodeSetPtr> members{sets_[a], sets_[b]};
        keep(embedded::unite(members), naive_.unite(a, b));
    }

    /** Whether all sets so far have the nodes that they should have. */
    bool agree() const { return agree_; }

private:
    void keep(NodeSetPtr set, std::size_t naive) {
        sets_.push_back(std::move(set));
        ASSERT_EQ(naive + 1, sets_.size());
        NodeIds nodes(sets_.back()->ids().begin(), sets_.back()->ids().end());
        log_ << "  -> S" << naive << ":";
        for (NodeId node : nodes)
            log_ << " " << node;
        NodeIds expected = naive_.nodes(naive);
        if (nodes == expected) return;
        agree_ = false;
        log_ << "  instead of";
        for (NodeId node : expected)
            log_ << " " << node;
    }

    const NodeTable &table_;
    Universe universe_;
    NaiveSets naive_;
    std::vector<NodeSetPtr> sets_;
    std::ostringstream log_;
    bool agree_ = true;
};

/** A random sequence of operations on random sets of a random table. */
class Walk {
public:
    Walk(const NodeTable &table, unsigned seed) : both_(table), table_(table), random_(seed) {}

    void run(int steps) {
        for (Axis &axis : axes_)
            axis = static_cast<Axis>(upTo(13));
        both_.plain(someNodes(1, false));
        both_.plain(someNodes(1, true));
        for (int i = 0; i < 3; ++i)
            both_.plain(someNodes(1 + upTo(3), upTo(4) == 0));
        for (int i = 0; i < steps && both_.agree(); ++i)
            step();
        ASSERT_TRUE(both_.agree()) << both_.log();
    }

private:
    unsigned upTo(unsigned end) { return static_cast<unsigned>(random_() % end); }

    /** Later sets more often than early ones, so that operations build on each other. */
    std::size_t someSet() {
        std::size_t size = both_.size();
        if (upTo(2) == 0)
            return size - 1 - upTo(static_cast<unsigned>(std::min(size, std::size_t{4})));
        return upTo(static_cast<unsigned>(size));
    }

    /** One in so many nodes, of any kind or attributes only. */
    NodeIds someNodes(unsigned oneIn, bool attributesOnly) {
        NodeIds nodes;
        for (testing::Point point : testing::nodesOf(table_)) {
            bool isAttribute = table_.kind(point.node) == NodeKind::attribute;
            if (attributesOnly && !isAttribute) continue;
            if (upTo(oneIn) == 0) nodes.push_back(point.node);
        }
        return nodes;
    }

    PositionTest someTest() {
        static const std::vector<double> places{1, 1, 2, 3, -1, -1, -2, 0, 1.5, 2.5, -1.5, 100};
        return {static_cast<Relation>(upTo(6)), places[upTo(12)]};
    }

    void step() {
        std::size_t a = someSet();
        std::size_t b = someSet();
        unsigned what = upTo(12);
        Axis axis = axes_[upTo(3)];
        if (what < 3) {
            both_.join(axis, a, b, Direction::second);
        } else if (what < 6) {
            both_.join(axis, a, b, Direction::first);
        } else if (what < 9) {
            both_.select(a, someTest());
        } else if (what == 9) {
            both_.intersect(a, b);
        } else if (what == 10) {
            both_.subtract(a, b);
        } else {
            both_.unite(a, b);
        }
    }

    Both both_;
    const NodeTable &table_;
    std::mt19937 random_;
    std::array<Axis, 3> axes_{};  ///< few, so that steps repeat
};

/** Short segments, so that whatever is kept by run begins and ends often. */
PathTableOptions shortSegments(unsigned seed) {
    PathTableOptions options;
    options.nodesPerSegment = 1 + seed % 7;
    options.withRuns = seed % 2 == 0;
    return options;
}

/** Nodes from the third level on are irregular; with some seeds, few paths are regular. */
PathTableOptions irregular(unsigned seed) {
    PathTableOptions options = shortSegments(seed);
    options.deepestLevel = 2;
    if (seed % 3 == 0) options.mostPaths = 1 + seed % 5;
    return options;
}

TEST(SetAlgebra, DoesWhatItsDefinitionSaysOnSmallTables) {
    for (unsigned seed = 1; seed <= 5000; ++seed) {
        MemoryNodeTable table = testing::randomTable(seed, 3 + static_cast<int>(seed % 9));
        Walk(table, seed).run(40);
        if (HasFatalFailure()) FAIL() << "seed " << seed;
    }
}

TEST(SetAlgebra, DoesWhatItsDefinitionSaysOnLargerTables) {
    for (unsigned seed = 1; seed <= 150; ++seed) {
        MemoryNodeTable table = testing::randomTable(seed, 20 + static_cast<int>(seed % 40));
        Walk(table, seed).run(30);
        if (HasFatalFailure()) FAIL() << "seed " << seed;
    }
}

TEST(SetAlgebra, DoesWhatItsDefinitionSaysByPath) {
    for (unsigned seed = 1; seed <= 3000; ++seed) {
        MemoryNodeTable nodes = testing::randomTable(seed, 3 + static_cast<int>(seed % 20));
        Walk(MemoryPathTable(nodes, shortSegments(seed)), seed).run(40);
        if (HasFatalFailure()) FAIL() << "seed " << seed;
    }
}

TEST(SetAlgebra, DoesWhatItsDefinitionSaysWherePathsAreIrregular) {
    for (unsigned seed = 1; seed <= 3000; ++seed) {
        MemoryNodeTable nodes = testing::randomTable(seed, 3 + static_cast<int>(seed % 20));
        Walk(MemoryPathTable(nodes, irregular(seed)), seed).run(40);
        if (HasFatalFailure()) FAIL() << "seed " << seed;
    }
}

NodeIds everyNode(const NodeTable &table) {
    NodeIds nodes;
    for (testing::Point point : testing::nodesOf(table))
        nodes.push_back(point.node);
    return nodes;
}

/** Two steps down, a position at each of them, and back up, for every pair of axes. */
void walkEveryPairOfAxes(const NodeTable &table) {
    const NodeIds all = everyNode(table);
    for (int axes = 0; axes < 13 * 13; ++axes) {
        auto first = static_cast<Axis>(axes / 13);
        auto second = static_cast<Axis>(axes % 13);
        Both both(table);
        both.plain(all);                               // 1
        both.join(first, 1, 1, Direction::second);     // 2
        both.select(2, {Relation::equal, 1});          // 3
        both.join(second, 2, 0, Direction::second);    // 4
        both.select(4, {Relation::greaterEqual, -2});  // 5
        both.join(second, 3, 5, Direction::second);    // 6
        both.join(first, 0, 4, Direction::first);      // 7
        both.join(first, 2, 6, Direction::first);      // 8
        both.intersect(4, 5);                          // 9
        both.unite(5, 4);                              // 10
        both.select(9, {Relation::lessEqual, 1});      // 11
        both.select(10, {Relation::notEqual, 1});      // 12
        both.intersect(3, 7);                          // 13
        both.join(first, 13, 12, Direction::first);    // 14
        both.intersect(2, 4);                          // 15
        both.select(15, {Relation::equal, 1});         // 16
        both.unite(2, 15);                             // 17
        both.select(17, {Relation::equal, 2});         // 18
        both.join(first, 1, 1, Direction::second);     // 19
        both.unite(2, 19);                             // 20
        both.join(second, 0, 20, Direction::first);    // 21
        both.join(first, 0, 1, Direction::second);     // 22
        both.intersect(22, 2);                         // 23
        both.select(23, {Relation::equal, 2});         // 24
        ASSERT_TRUE(both.agree()) << both.log();
    }
}

TEST(SetAlgebra, DoesWhatItsDefinitionSaysForEveryPairOfAxesOnEverySmallForest) {
    for (int count = 1; count <= 4; ++count) {
        for (const MemoryNodeTable &table : testing::forestsOf(count)) {
            walkEveryPairOfAxes(table);
            if (HasFatalFailure()) FAIL();
        }
    }
}

TEST(SetAlgebra, DoesWhatItsDefinitionSaysForEveryPairOfAxesByPath) {
    for (int count = 1; count <= 3; ++count) {
        for (const MemoryNodeTable &nodes : testing::forestsOf(count)) {
            walkEveryPairOfAxes(MemoryPathTable(nodes, shortSegments(1)));
            walkEveryPairOfAxes(MemoryPathTable(nodes, irregular(1)));
            if (HasFatalFailure()) FAIL();
        }
    }
}

/** By path, set 2 shares the list of set 1; a union over the two is none over one step. */
TEST(SetAlgebra, TellsStepsFromDifferentSetsApart) {
    for (unsigned seed = 1; seed <= 100; ++seed) {
        MemoryNodeTable nodes = testing::randomTable(seed, 12);
        MemoryPathTable table(nodes, shortSegments(seed));
        Both both(table);
        both.plain(everyNode(table));                                // 1
        both.join(Axis::descendantOrSelf, 1, 0, Direction::second);  // 2
        both.join(Axis::descendant, 0, 2, Direction::second);        // 3
        both.join(Axis::following, 2, 2, Direction::second);         // 4
        both.join(Axis::following, 3, 2, Direction::second);         // 5
        both.unite(4, 5);                                            // 6
        both.select(6, {Relation::equal, 1});                        // 7
        both.intersect(4, 4);                                        // 8
        both.join(Axis::following, 8, 2, Direction::second);         // 9
        both.join(Axis::following, 4, 2, Direction::second);         // 10
        both.unite(9, 10);                                           // 11
        both.select(11, {Relation::equal, 2});                       // 12
        ASSERT_TRUE(both.agree()) << "seed " << seed << "\n" << both.log();
    }
}

/** Every test at every place, on the axes that are counted in one pass and on the others. */
TEST(Positions, AreThoseOfTheDefinitionOnEveryAxis) {
    for (unsigned seed = 1; seed <= 100; ++seed) {
        MemoryNodeTable table = testing::randomTable(seed, 4 + static_cast<int>(seed % 16));
        const NodeIds all = everyNode(table);
        for (int axis = 0; axis < 13; ++axis) {
            Both both(table);
            both.plain(all);
            both.join(static_cast<Axis>(axis), 1, 1, Direction::second);
            for (int relation = 0; relation < 6; ++relation) {
                for (double place : {0.0, 1.0, 1.5, 2.0, 3.0, 50.0, -1.0, -1.5, -2.0, -3.0, -50.0})
                    both.select(2, {static_cast<Relation>(relation), place});
            }
            ASSERT_TRUE(both.agree()) << "seed " << seed << "\n" << both.log();
        }
    }
}

}  // namespace
}  // namespace zdbs::embedded
