#include "tests/exhaustive/field_sets.h"

#include <functional>
#include <set>
#include <utility>
#include <variant>

#include "zdbs/language/command_parser.h"

namespace exhaustive {

using zdbs::NodeKind;
using zdbs::embedded::NodeId;
using zdbs::embedded::NodeTable;

namespace {

using Membership = std::function<bool(NodeId)>;

FieldSet fieldSet(const MaskForest &forest, const std::string &text, const Membership &isMember) {
    zdbs::Command command = zdbs::parseCommand("FIND " + text);
    FieldSet set{text, std::move(std::get<zdbs::FindCommand>(command).condition), 0};
    for (std::size_t place = 0; place < forest.nodeCount(); ++place) {
        if (isMember(forest.nodeAt(place))) set.nodes |= Mask{1} << place;
    }
    return set;
}

}  // namespace

std::vector<FieldSet> fieldSetsOf(const NodeTable &table, const MaskForest &forest) {
    const auto isOf = [&table](NodeKind kind) {
        return [&table, kind](NodeId node) { return table.kind(node) == kind; };
    };
    const auto isCalled = [&table](const std::string &name) {
        return [&table, name](NodeId node) { return table.name(node).local == name; };
    };
    std::vector<FieldSet> sets;
    const auto add = [&](const std::string &text, const Membership &isMember) {
        sets.push_back(fieldSet(forest, text, isMember));
    };
    add("N_TYPE=ELEMENT", isOf(NodeKind::element));
    add("N_TYPE=ATTRIBUTE", isOf(NodeKind::attribute));
    add("N_TVALUE=&v&", [&](NodeId node) { return table.value(node) == "v"; });
    add("N_TVALUE=$w$", [&](NodeId node) { return table.value(node) == "w"; });
    add("N_TYPE=ATTRIBUTE AND N_TVALUE=&w&", [&](NodeId node) {
        return table.kind(node) == NodeKind::attribute && table.value(node) == "w";
    });
    add("N_TYPE=ELEMENT NOT N_NAME=\"e0\"", [&](NodeId node) {
        return table.kind(node) == NodeKind::element && table.name(node).local != "e0";
    });
    std::set<std::string> names{"nothing"};
    for (std::size_t place = 0; place < forest.nodeCount(); ++place)
        names.emplace(table.name(forest.nodeAt(place)).local);
    names.erase("");
    for (const std::string &name : names)
        add("N_NAME=\"" + name + "\"", isCalled(name));
    return sets;
}

}  // namespace exhaustive
