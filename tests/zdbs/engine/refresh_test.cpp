/** A database that changes while sets of it are held. */
#include <gtest/gtest.h>

#include "tests/zdbs/support/memory_node_table.h"
#include "zdbs/command/command_parser.h"
#include "zdbs/engine/embedded_database.h"

namespace zdbs {
namespace {

using testing::MemoryNodeTable;

/** One document of `count` nodes that begins at number `first`. */
std::shared_ptr<const NodeTable> tableFrom(NodeId first, int count) {
    auto table = std::make_shared<MemoryNodeTable>();
    if (first > 1) table->skipIds(first - 1);
    table->startDocument("d");
    table->startElement({"a"});
    for (int i = 1; i < count; ++i)
        table->text("t");
    table->endElement();
    table->endDocument();
    return table;
}

TEST(Refresh, TellsWhetherSomethingChanged) {
    std::shared_ptr<const NodeTable> newest = tableFrom(1, 3);
    auto database = makeEmbeddedDatabase("d", [&] { return newest; });
    EXPECT_EQ(database->name(), "d");
    EXPECT_FALSE(database->refresh());
    newest = tableFrom(1, 4);
    EXPECT_EQ(database->everything()->size(), 3);
    EXPECT_TRUE(database->refresh());
    EXPECT_FALSE(database->refresh());
    EXPECT_EQ(database->everything()->size(), 4);
    EXPECT_EQ(database->nodes(), newest);
}

TEST(Refresh, DropsWhatIsGoneFromSetsThatAreCarriedOver) {
    std::shared_ptr<const NodeTable> newest = tableFrom(1, 4);
    auto database = makeEmbeddedDatabase("d", [&] { return newest; });
    ResultSetPtr everything = database->everything();
    newest = tableFrom(3, 5);
    ASSERT_TRUE(database->refresh());
    ResultSetPtr carried = database->carryOver(everything);
    EXPECT_EQ(database->records(*carried), (std::vector<NodeId>{3, 4}));
    EXPECT_EQ(database->hits(*carried), 2);
}

TEST(Refresh, LetsCarriedSetsBeUsedFurther) {
    std::shared_ptr<const NodeTable> newest = tableFrom(1, 4);
    auto database = makeEmbeddedDatabase("d", [&] { return newest; });
    auto evaluate = [&](const char *line, const ResultSetPtr &set) {
        Command command = parseCommand(line);
        return database->evaluate(std::get<FindCommand>(command).condition,
                                  [&](SetReference) { return set; });
    };
    ResultSetPtr chained = evaluate("FIND XPATH(child,0,0,2)", nullptr);
    newest = tableFrom(3, 5);
    ASSERT_TRUE(database->refresh());
    ResultSetPtr carried = database->carryOver(chained);
    EXPECT_EQ(evaluate("FIND XPATH(child,0,1,1)", carried)->size(), 1);
    EXPECT_EQ(evaluate("FIND XPATH(SELF,1,1,1,EQ,1)", carried)->size(), 2);
}

}  // namespace
}  // namespace zdbs
