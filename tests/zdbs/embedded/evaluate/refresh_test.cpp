/** A database that changes while sets of it are held. */
#include <gtest/gtest.h>

#include "tests/zdbs/support/memory_node_table.h"
#include "tests/zdbs/support/one_part.h"
#include "tests/zdbs/support/told.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/embedded_database.h"
#include "zdbs/language/command_parser.h"

namespace zdbs::embedded {
namespace {

using testing::MemoryNodeTable;
using testing::recordsOf;

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

TEST(Refresh, TakesUpTheNewestState) {
    std::shared_ptr<const NodeTable> newest = tableFrom(1, 3);
    auto database = makeEmbeddedDatabase("d", onePart([&] { return newest; }));
    EXPECT_EQ(database->name(), "d");
    const ResultSetPtr made = database->everything();
    std::vector<ResultSetPtr> sets{made};
    database->refresh(sets);
    EXPECT_EQ(sets[0], made) << "nothing changed";
    newest = tableFrom(1, 4);
    EXPECT_EQ(database->everything()->size(), 3);
    database->refresh({});
    EXPECT_EQ(database->everything()->size(), 4);
}

TEST(Refresh, DropsWhatIsGoneFromSetsThatAreCarriedOver) {
    std::shared_ptr<const NodeTable> newest = tableFrom(1, 4);
    auto database = makeEmbeddedDatabase("d", onePart([&] { return newest; }));
    std::vector<ResultSetPtr> sets{database->everything(), nullptr, database->everything()};
    newest = tableFrom(3, 5);
    database->refresh(sets);
    for (const std::size_t carried : {0, 2}) {
        EXPECT_EQ(recordsOf(*database, *sets[carried]), (std::vector<RecordId>{3, 4}));
        EXPECT_EQ(sets[carried]->size(), 2);
        EXPECT_EQ(sets[carried]->hits(), 2);
    }
    EXPECT_EQ(sets[1], nullptr) << "a gap";
}

TEST(Refresh, LetsCarriedSetsBeUsedFurther) {
    std::shared_ptr<const NodeTable> newest = tableFrom(1, 4);
    auto database = makeEmbeddedDatabase("d", onePart([&] { return newest; }));
    auto evaluate = [&](const char *line, const ResultSetPtr &set) {
        Command command = parseCommand(line);
        return database->evaluate(std::get<FindCommand>(command).condition,
                                  [&](SetReference) { return set; });
    };
    std::vector<ResultSetPtr> sets{evaluate("FIND XPATH(child,0,0,2)", nullptr)};
    newest = tableFrom(3, 5);
    database->refresh(sets);
    EXPECT_EQ(evaluate("FIND XPATH(child,0,1,1)", sets[0])->size(), 1);
    EXPECT_EQ(evaluate("FIND XPATH(SELF,1,1,1,EQ,1)", sets[0])->size(), 2);
}

/** The nodes of another table, the documents so many times only. */
class UnreliableTable : public NodeTable {
public:
    UnreliableTable(std::shared_ptr<const NodeTable> nodes, int calls)
        : nodes_(std::move(nodes)), calls_(calls) {}

    std::span<const DocumentRange> documents() const override {
        if (calls_-- == 0) throw Failure(Status::homeDamaged);
        return nodes_->documents();
    }
    NodeKind kind(NodeId node) const override { return nodes_->kind(node); }
    NodeId parent(NodeId node) const override { return nodes_->parent(node); }
    NodeId lastBelow(NodeId node) const override { return nodes_->lastBelow(node); }
    NodeName name(NodeId node) const override { return nodes_->name(node); }
    std::string_view value(NodeId node) const override { return nodes_->value(node); }
    std::vector<NamespaceDeclaration> namespaces(NodeId node) const override {
        return nodes_->namespaces(node);
    }

private:
    std::shared_ptr<const NodeTable> nodes_;
    mutable int calls_;
};

TEST(Refresh, CarriesAllSetsOverOrNone) {
    const std::shared_ptr<const NodeTable> before = tableFrom(1, 4);
    std::shared_ptr<const NodeTable> newest = before;
    auto database = makeEmbeddedDatabase("d", onePart([&] { return newest; }));
    std::vector<ResultSetPtr> sets{database->everything(), database->everything()};
    const std::vector<ResultSetPtr> untouched = sets;
    int failures = 0;
    for (; sets == untouched; ++failures) {
        newest = std::make_shared<UnreliableTable>(tableFrom(3, 5), failures);
        try {
            database->refresh(sets);
        } catch (const Failure &) {
            EXPECT_EQ(sets, untouched) << failures;
            EXPECT_EQ(database->everything()->size(), 4) << failures;
        }
    }
    EXPECT_GE(failures, 9) << "at least once for each node of each set";
    EXPECT_EQ(database->everything()->size(), 5);
    EXPECT_EQ(sets[0]->size(), 2);
    EXPECT_EQ(sets[1]->size(), 2);
}

}  // namespace
}  // namespace zdbs::embedded
