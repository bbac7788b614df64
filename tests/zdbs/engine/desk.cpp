#include "tests/zdbs/engine/desk.h"

#include "zdbs/command/command_parser.h"
#include "zdbs/engine/embedded_database.h"
#include "zdbs/status/status.h"

namespace zdbs::testing {
namespace {

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

}  // namespace

Desk::Desk(std::string_view xml) : Desk({{"test.xml", std::string(xml)}}) {}

Desk::Desk(const std::vector<XmlSource> &documents)
    : table_(std::make_shared<MemoryNodeTable>(tableFromXml(documents))),
      database_(makeEmbeddedDatabase("test", [table = table_] { return table; })) {}

Desk &Desk::find(const std::vector<std::string> &conditions) {
    for (const std::string &condition : conditions)
        sets_.push_back(evaluate(condition));
    return *this;
}

std::string Desk::ids(const std::string &condition) const {
    std::string text;
    for (NodeId node : database_->records(*evaluate(condition))) {
        text += (text.empty() ? "" : " ") + std::to_string(node);
    }
    return text;
}

std::string Desk::shown(const std::string &condition) const {
    std::string text;
    for (NodeId node : database_->records(*evaluate(condition))) {
        text += (text.empty() ? "" : " ") + shownNode(*table_, node);
    }
    return text;
}

ResultSetPtr Desk::evaluate(const std::string &condition) const {
    Command command = parseCommand("FIND " + condition);
    return database_->evaluate(std::get<FindCommand>(command).condition,
                               [this](SetReference reference) { return set(reference.number); });
}

const ResultSetPtr &Desk::set(std::int32_t number) const {
    auto place = static_cast<std::size_t>(number) - 1;
    if (place >= sets_.size()) throw Failure(Status::unknownSet, {std::to_string(number)});
    return sets_[place];
}

}  // namespace zdbs::testing
