#include "tests/zdbs/embedded/evaluate/desk.h"

#include <gtest/gtest.h>

#include "tests/zdbs/support/memory_path_table.h"
#include "tests/zdbs/support/nodes_of.h"
#include "tests/zdbs/support/one_part.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/embedded_database.h"
#include "zdbs/language/command_parser.h"

namespace zdbs::testing {
namespace {

/** Records further on are compared without their hit words. */
constexpr std::int64_t mostCompared = 1000;

std::string shownNode(const NodeTable &table, NodeId node) {
    std::string name(table.name(node).local);
    std::string value(table.value(node));
    switch (table.kind(node)) {
        case NodeKind::element:
            return name;
        case NodeKind::attribute:
            return "@" + name;
        case NodeKind::text:
            return "'" + value + "'";
        case NodeKind::comment:
            return "!" + value;
        case NodeKind::processingInstruction:
            return "?" + name;
    }
    return {};
}

/** Records, hits and hit words of a set, for comparing. */
std::string contentOf(const OpenDatabase &database, const ResultSet &set) {
    std::string text = std::to_string(set.hits()) + " hits:";
    std::int64_t place = 0;
    for (NodeId node : nodesOf(database, set)) {
        text += " " + std::to_string(node);
        if (database.record(set, ++place) != node) text += " is not at its place";
        if (place > mostCompared) continue;
        for (const HitWord &word : database.hitWords(set, node)) {
            text += "/" + std::to_string(word.field) + "," + std::to_string(word.word) + "," +
                    std::to_string(word.length);
        }
    }
    return text;
}

}  // namespace

Desk::Desk(std::string_view xml) : Desk({{"test.xml", std::string(xml)}}) {}

Desk::Desk(const std::vector<XmlSource> &documents)
    : table_(std::make_shared<MemoryNodeTable>(tableFromXml(documents))) {
    PathTableOptions shortSegments;
    shortSegments.nodesPerSegment = 3;
    PathTableOptions irregular = shortSegments;
    irregular.deepestLevel = 2;
    irregular.withValuePaths = false;
    add("by number", table_);
    add("by path", std::make_shared<MemoryPathTable>(*table_, shortSegments));
    add("irregular", std::make_shared<MemoryPathTable>(*table_, irregular));
}

void Desk::add(std::string name, std::shared_ptr<const NodeTable> table) {
    auto database = makeEmbeddedDatabase("test", onePart([table] { return table; }));
    editions_.push_back({std::move(name), std::move(table), std::move(database), {}});
}

/** What is pending stays so: later conditions are to find it like that. */
Desk &Desk::find(const std::vector<std::string> &conditions) {
    for (const std::string &condition : conditions) {
        for (Edition &edition : editions_)
            edition.sets.push_back(edition.evaluate(condition));
    }
    return *this;
}

std::string Desk::ids(const std::string &condition) const {
    std::string text;
    for (NodeId node : nodesOf(database(), *evaluate(condition))) {
        text += (text.empty() ? "" : " ") + std::to_string(node);
    }
    return text;
}

std::string Desk::shown(const std::string &condition) const {
    std::string text;
    for (NodeId node : nodesOf(database(), *evaluate(condition))) {
        text += (text.empty() ? "" : " ") + shownNode(*table_, node);
    }
    return text;
}

ResultSetPtr Desk::evaluate(const std::string &condition) const {
    ResultSetPtr set = editions_.front().evaluate(condition);
    expectTheSame(condition, set);
    return set;
}

void Desk::expectTheSame(const std::string &condition, const ResultSetPtr &set) const {
    const std::string expected = contentOf(database(), *set);
    for (const Edition &edition : editions_) {
        const ResultSetPtr other = edition.evaluate(condition);
        EXPECT_EQ(other->size(), set->size()) << condition << " " << edition.name;
        EXPECT_EQ(contentOf(*edition.database, *other), expected)
            << condition << " " << edition.name;
    }
}

const ResultSetPtr &Desk::set(std::int32_t number) const {
    return editions_.front().set(number);
}

ResultSetPtr Desk::evaluateByPath(const std::string &condition) const {
    return editions_[1].evaluate(condition);
}

const ResultSetPtr &Desk::setByPath(std::int32_t number) const {
    return editions_[1].set(number);
}

ResultSetPtr Desk::Edition::evaluate(const std::string &condition) const {
    Command command = parseCommand("FIND " + condition);
    return database->evaluate(std::get<FindCommand>(command).condition,
                              [this](SetReference reference) { return set(reference.number); });
}

const ResultSetPtr &Desk::Edition::set(std::int32_t number) const {
    auto place = static_cast<std::size_t>(number) - 1;
    if (place >= sets.size()) throw Failure(Status::unknownSet, {std::to_string(number)});
    return sets[place];
}

}  // namespace zdbs::testing
