/** Values and literals made of what conditions are made of: each is compared as what it is. */
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/zdbs/support/hostile_texts.h"
#include "tests/zdbs/support/memory_node_table.h"
#include "tests/zdbs/support/memory_path_table.h"
#include "tests/zdbs/support/nodes_of.h"
#include "tests/zdbs/support/one_part.h"
#include "zdbs/embedded/embedded_database.h"
#include "zdbs/language/command_parser.h"

namespace zdbs::embedded {
namespace {

using testing::MemoryNodeTable;
using testing::MemoryPathTable;

/** An attribute for each value. */
MemoryNodeTable tableOf(const std::vector<std::string> &values) {
    MemoryNodeTable table;
    table.startDocument("values.xml");
    table.startElement({"values"});
    for (const std::string &value : values) {
        table.startElement({"v"});
        table.attribute({"x"}, value);
        table.endElement();
    }
    table.endElement();
    table.endDocument();
    return table;
}

/** How a literal stands in a command. */
struct Form {
    const char *open;
    const char *close;
    Relation relation;
};

constexpr Form forms[] = {
    {"=&", "&", Relation::equal},     {"<>\"", "\"", Relation::notEqual},
    {"<\"", "\"", Relation::less},    {"<=\"", "\"", Relation::lessEqual},
    {">\"", "\"", Relation::greater}, {">=\"", "\"", Relation::greaterEqual},
    {"=$", "$", Relation::contains},
};

/** On nodes by number, and by path. */
class HostileValues : public ::testing::TestWithParam<bool> {
protected:
    HostileValues() {
        std::shared_ptr<const NodeTable> nodes(&table_, [](const NodeTable *) {});
        if (GetParam()) nodes = std::make_shared<MemoryPathTable>(table_);
        database_ = makeEmbeddedDatabase("values", onePart([nodes] { return nodes; }));
        everything_ = database_->everything();
    }

    std::vector<NodeId> found(const std::string &condition) const {
        const Command command = parseCommand("FIND " + condition);
        const auto lookup = [this](SetReference) { return everything_; };
        return testing::nodesOf(
            *database_, *database_->evaluate(std::get<FindCommand>(command).condition, lookup));
    }

    /** The attribute that has a value. */
    static NodeId nodeOf(std::size_t value) { return static_cast<NodeId>(2 * value + 3); }

    std::vector<NodeId> expected(Relation relation, const std::string &literal) const {
        std::vector<NodeId> nodes;
        for (std::size_t i = 0; i < values_.size(); ++i) {
            if (testing::holds(relation, values_[i], literal)) nodes.push_back(nodeOf(i));
        }
        return nodes;
    }

    const std::vector<std::string> values_ = testing::textsOf(testing::hostileCharacters(), 2);
    const MemoryNodeTable table_ = tableOf(values_);
    std::unique_ptr<OpenDatabase> database_;
    ResultSetPtr everything_;
};

TEST_P(HostileValues, AreFoundByTheLiteralsThatTheyAre) {
    std::vector<std::string> literals = testing::textsOf(testing::hostileCharacters(), 3);
    ASSERT_EQ(literals.size(), 1U + 13 + 169 + 2197);
    literals.erase(literals.begin());  // the empty one is sent as what the next test has
    const std::string attribute = "N_TYPE=ATTRIBUTE AND.T N_NAME=\"x\" AND.T N_TVALUE";
    for (const std::string &literal : literals) {
        for (const Form &form : forms) {
            const std::string condition = attribute + form.open + literal + form.close;
            const std::vector<NodeId> nodes = expected(form.relation, literal);
            ASSERT_EQ(found(condition), nodes) << condition;
            ASSERT_EQ(found("S=1 AND (" + condition + ")"), nodes) << condition;
        }
    }
}

TEST_P(HostileValues, AreNotEmptyOrAnything) {
    std::vector<NodeId> nodes;
    for (std::size_t i = 1; i < values_.size(); ++i)
        nodes.push_back(nodeOf(i));
    EXPECT_EQ(found("N_TYPE=ATTRIBUTE AND.T N_TVALUE=$"), nodes);
    EXPECT_EQ(found("S=1 AND (N_TYPE=ATTRIBUTE AND.T N_TVALUE=$)"), nodes);
    nodes.insert(nodes.begin(), nodeOf(0));
    EXPECT_EQ(found("N_TYPE=ATTRIBUTE AND.T N_TVALUE=\"\""), nodes);
}

INSTANTIATE_TEST_SUITE_P(, HostileValues, ::testing::Bool(),
                         [](const auto &test) { return test.param ? "ByPath" : "ByNumber"; });

}  // namespace
}  // namespace zdbs::embedded
