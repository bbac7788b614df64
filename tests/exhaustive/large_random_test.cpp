/**
 * Random sequences of conditions over large random trees: by path, with segments of many sizes,
 * removed documents and irregular nodes, the answers are those of the node table alone; and over
 * trees of some hundred nodes both are those by definition.
 */
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "tests/exhaustive/family.h"
#include "tests/zdbs/embedded/evaluate/naive_sets.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "tests/zdbs/support/nodes_of.h"
#include "tests/zdbs/support/one_part.h"
#include "zdbs/embedded/embedded_database.h"
#include "zdbs/language/command_parser.h"

namespace exhaustive {
namespace {

using zdbs::Axis;
using zdbs::OpenDatabase;
using zdbs::ResultSetPtr;
using zdbs::embedded::Direction;
using zdbs::embedded::NodeTable;
using zdbs::testing::MemoryNodeTable;
using zdbs::testing::MemoryPathTable;
using zdbs::testing::PathTableOptions;

/** One database with the sets that were made in it. */
class Desk {
public:
    explicit Desk(const NodeTable &nodes)
        : database_(zdbs::embedded::makeEmbeddedDatabase(
              "large", zdbs::embedded::onePart(
                           [table = std::shared_ptr<const NodeTable>(
                                std::shared_ptr<const void>(), &nodes)] { return table; }))) {}

    void find(const std::string &condition) {
        const zdbs::Command command = zdbs::parseCommand("FIND " + condition);
        sets_.push_back(database_->evaluate(
            std::get<zdbs::FindCommand>(command).condition, [this](zdbs::SetReference reference) {
                return sets_[static_cast<std::size_t>(reference.number) - 1];
            }));
    }

    std::size_t size() const { return sets_.size(); }
    std::vector<zdbs::embedded::NodeId> records(std::size_t number) const {
        return zdbs::testing::nodesOf(*database_, *sets_[number - 1]);
    }

private:
    std::unique_ptr<OpenDatabase> database_;
    std::vector<ResultSetPtr> sets_;
};

/** Conditions at random that build on earlier ones. */
class Conditions {
public:
    explicit Conditions(unsigned seed) : random_(seed) {}

    /** @param sets how many there are; the condition may name them and set 0 */
    std::string next(std::size_t sets) {
        const std::size_t what = sets < 6 ? 0 : below(10);
        if (what < 2) return fields();
        const std::string a = set(sets);
        const std::string b = set(sets);
        if (what < 6) {
            return "XPATH(" + std::string(zdbs::nameOf(static_cast<Axis>(below(13)))) + "," + a +
                   "," + b + "," + std::to_string(1 + below(2)) + ")";
        }
        if (what < 8) return position(a);
        constexpr const char *words[] = {" AND ", " NOT ", " OR "};
        return "S=" + a + words[below(3)] + "S=" + b;
    }

private:
    std::size_t below(std::size_t end) { return random_() % end; }

    /** Later sets more often than early ones; now and then set 0. */
    std::string set(std::size_t sets) {
        if (below(8) == 0) return "0";
        const std::size_t back =
            below(2) == 0 ? below(std::min<std::size_t>(sets, 4)) : below(sets);
        return std::to_string(sets - back);
    }

    std::string fields() {
        constexpr const char *kinds[] = {"ELEMENT", "ATTRIBUTE", "TEXT", "COMMENT",
                                         "PROCESSING_INSTRUCTION"};
        constexpr const char *terms[] = {"N_NAME=\"a\"", "N_NAME=\"b\"",  "N_NAME=\"x1\"",
                                         "N_TVALUE=&1&", "N_TVALUE=$t1$", "N_TVALUE<\"2\"",
                                         "N_TVALUE=$"};
        switch (below(4)) {
            case 0:
                return std::string("N_TYPE=") + kinds[below(5)];
            case 1:
                return terms[below(std::size(terms))];
            case 2:
                return std::string("N_TYPE=") + kinds[below(3)] + " AND " +
                       terms[below(std::size(terms))];
            default:
                return std::string("N_TYPE=ELEMENT NOT ") + terms[below(3)];
        }
    }

    std::string position(const std::string &set) {
        constexpr const char *relations[] = {"EQ", "NE", "LT", "LE", "GT", "GE"};
        constexpr const char *places[] = {"1", "2", "3", "-1", "-2", "1.5", "-1.5", "7", "100"};
        return "XPATH(SELF," + set + "," + set + ",1," + relations[below(6)] + "," +
               places[below(std::size(places))] + ")";
    }

    std::mt19937 random_;
};

PathTableOptions optionsOf(unsigned seed, const NodeTable &table) {
    std::mt19937 random(seed);
    constexpr std::uint32_t all = 0xffffffff;
    constexpr std::uint32_t segments[] = {all, 1, 3, 64, 1000, 30000};
    constexpr std::uint32_t levels[] = {all, all, 2, 3, 5};
    constexpr std::size_t paths[] = {all, all, 5, 40};
    PathTableOptions options;
    options.nodesPerSegment = segments[random() % std::size(segments)];
    options.deepestLevel = levels[random() % std::size(levels)];
    options.mostPaths = paths[random() % std::size(paths)];
    options.withRuns = random() % 2 == 0;
    for (zdbs::embedded::DocumentIndex index = 1; index < table.documents().size(); ++index) {
        if (random() % 4 == 0) options.removed.insert(index);
    }
    options.withValuePaths = random() % 3 != 0;
    return options;
}

/** The same nodes without paths. */
class WithoutPaths : public NodeTable {
public:
    explicit WithoutPaths(const NodeTable &nodes) : nodes_(nodes) {}

    std::span<const zdbs::embedded::DocumentRange> documents() const override {
        return nodes_.documents();
    }
    zdbs::NodeKind kind(zdbs::embedded::NodeId node) const override { return nodes_.kind(node); }
    zdbs::embedded::NodeId parent(zdbs::embedded::NodeId node) const override {
        return nodes_.parent(node);
    }
    zdbs::embedded::NodeId lastBelow(zdbs::embedded::NodeId node) const override {
        return nodes_.lastBelow(node);
    }
    zdbs::NodeName name(zdbs::embedded::NodeId node) const override { return nodes_.name(node); }
    std::string_view value(zdbs::embedded::NodeId node) const override {
        return nodes_.value(node);
    }
    std::vector<zdbs::NamespaceDeclaration> namespaces(zdbs::embedded::NodeId node) const override {
        return nodes_.namespaces(node);
    }

private:
    const NodeTable &nodes_;
};

struct Extent {
    int nodes;
    unsigned seeds;
    int conditions;
};

void PrintTo(const Extent &extent, std::ostream *out) {
    *out << extent.nodes << " nodes";
}

class LargeRandom : public ::testing::TestWithParam<Extent> {};

/** Both ways through one sequence; the sets are looked at when all are made, the last first. */
void compareWays(unsigned seed, const Extent &extent, std::size_t &answers) {
    const MemoryNodeTable all = zdbs::testing::randomTable(seed, extent.nodes);
    const MemoryPathTable byPath(all, optionsOf(seed, all));
    const WithoutPaths byNode(byPath);
    Desk one(byPath);
    Desk other(byNode);
    Conditions conditions(seed);
    std::vector<std::string> story;
    for (int i = 0; i < extent.conditions; ++i) {
        story.push_back(conditions.next(one.size()));
        one.find(story.back());
        other.find(story.back());
    }
    for (std::size_t number = one.size(); number > 0; --number) {
        const auto found = one.records(number);
        answers += found.empty() ? 0 : 1;
        if (found == other.records(number)) continue;
        std::ostringstream text;
        for (std::size_t i = 0; i < number; ++i)
            text << "S" << i + 1 << " = " << story[i] << "\n";
        FAIL() << "seed " << seed << ", S" << number << "\n" << text.str();
    }
}

TEST_P(LargeRandom, AnswersByPathAreThoseByNode) {
    std::size_t answers = 0;
    for (unsigned seed = 1; seed <= GetParam().seeds; ++seed) {
        compareWays(seed, GetParam(), answers);
        if (HasFatalFailure()) return;
    }
    const auto sets = GetParam().seeds * static_cast<std::size_t>(GetParam().conditions);
    EXPECT_GE(answers, sets / 4) << "many sets should have nodes";
    std::cout << sets << " sets compared, " << answers << " with nodes\n";
}

#ifdef NDEBUG
constexpr Extent extents[] = {{100, 500, 60}, {1000, 150, 60}, {10000, 30, 60}, {100000, 4, 60}};
#else
constexpr Extent extents[] = {{100, 100, 60}, {1000, 10, 60}, {10000, 1, 60}};
#endif

INSTANTIATE_TEST_SUITE_P(Of, LargeRandom, ::testing::ValuesIn(extents), [](const auto &extent) {
    return std::to_string(extent.param.nodes) + "Nodes";
});

/** A step, a position and a step back on each axis, against the definition. */
TEST(LargeRandom, AnswersOfHundredsOfNodesAreThoseOfTheDefinition) {
    std::size_t compared = 0;
    for (unsigned seed = 1; seed <= 6; ++seed) {
        const MemoryNodeTable all = zdbs::testing::randomTable(seed, 300);
        const MemoryPathTable byPath(all, optionsOf(seed, all));
        for (std::size_t axis = 0; axis < 13; ++axis) {
            const std::string name(zdbs::nameOf(static_cast<Axis>(axis)));
            Desk desk(byPath);
            for (const char *condition : {"N_NAME=\"a\"", "N_TYPE=ELEMENT"})
                desk.find(condition);
            desk.find("XPATH(" + name + ",1,2,2)");
            desk.find("XPATH(SELF,3,3,1,EQ,2)");
            desk.find("XPATH(" + name + ",0,4,1)");
            zdbs::testing::NaiveSets naive(byPath);
            naive.plain(desk.records(1));
            naive.plain(desk.records(2));
            naive.join(static_cast<Axis>(axis), 1, 2, Direction::second);
            naive.select(3, {zdbs::Relation::equal, 2});
            naive.join(static_cast<Axis>(axis), 0, 4, Direction::first);
            for (std::size_t set = 5; set >= 3; --set, ++compared)
                EXPECT_EQ(desk.records(set), naive.nodes(set))
                    << seed << " " << name << " S" << set;
        }
    }
    EXPECT_EQ(compared, 6U * 13U * 3U);
}

}  // namespace
}  // namespace exhaustive
