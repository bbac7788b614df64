#include "zdbs/embedded/evaluate/node_filter.h"

#include <algorithm>
#include <utility>

#include "zdbs/base/number.h"
#include "zdbs/base/stop.h"
#include "zdbs/language/type_word.h"

namespace zdbs::embedded {
namespace {

/** What a test of a field costs: a value is the only thing that can be long. */
int costOf(Field field) {
    switch (field) {
        case Field::id:
            return 0;
        case Field::type:
            return 1;
        case Field::parent:
            return 2;
        case Field::name:
            return 3;
        case Field::nameSpace:
            return 4;
        case Field::value:
            return 5;
    }
    return 5;
}

/** N_NAME="*" is every name. Its complement is then none, which no relation says. */
ValueTest textTest(const FieldTerm &term) {
    Comparing comparing = term.field == Field::value ? Comparing::asNumbers : Comparing::asTexts;
    bool isEveryName =
        term.field == Field::name && term.text == "*" && term.relation == Relation::equal;
    return {isEveryName ? Relation::any : term.relation, term.text, comparing};
}

/**
 * A name is in a namespace by the prefix as written and by the namespace name; a name
 * without prefix by the namespace name only, which is empty outside all namespaces.
 */
bool matchesNamespace(const NodeName &name, const ValueTest &test) {
    if (name.prefix.empty()) return test.matches(name.uri);
    bool byPrefix = test.matches(name.prefix);
    bool byUri = test.matches(name.uri);
    return test.relation() == Relation::notEqual ? byPrefix && byUri : byPrefix || byUri;
}

}  // namespace

bool hasName(NodeKind kind) {
    return kind == NodeKind::element || kind == NodeKind::attribute ||
           kind == NodeKind::processingInstruction;
}

bool hasNamespace(NodeKind kind) {
    return kind == NodeKind::element || kind == NodeKind::attribute;
}

bool FieldTest::holdsOf(const NodeName &name) const {
    return field == Field::name ? text.matches(name.local) : matchesNamespace(name, text);
}

bool FieldTest::holdsOf(NodeId node) const {
    const double record = node == noNode ? 0 : before + node;
    return relation == Relation::notEmpty || holds(relation, record, number);
}

void NodeFilter::add(const FieldTerm &term, bool negated) {
    const bool isOfNumber = term.field == Field::id || term.field == Field::parent;
    const double number = isOfNumber ? numberOf(term.text).value_or(0) : 0;
    FieldTest test{term.field, negated, textTest(term), term.relation, number, before_};
    auto later =
        std::upper_bound(tests_.begin(), tests_.end(), costOf(term.field),
                         [](int cost, const FieldTest &t) { return cost < costOf(t.field); });
    tests_.insert(later, std::move(test));
}

bool NodeFilter::accepts(const NodeTable &table, NodeId node) const {
    return std::all_of(tests_.begin(), tests_.end(), [&](const FieldTest &test) {
        return satisfies(table, node, test) != test.negated;
    });
}

bool NodeFilter::satisfies(const NodeTable &table, NodeId node, const FieldTest &test) {
    NodeKind kind = table.kind(node);
    switch (test.field) {
        case Field::id:
            return test.holdsOf(node);
        case Field::parent:
            return test.holdsOf(table.parent(node));
        case Field::type:
            return test.text.matches(typeWord(kind));
        case Field::name:
            return hasName(kind) && test.holdsOf(table.name(node));
        case Field::nameSpace:
            return hasNamespace(kind) && test.holdsOf(table.name(node));
        case Field::value:
            return kind != NodeKind::element && test.text.matches(table.value(node));
    }
    return false;
}

std::vector<NodeId> NodeFilter::select(const NodeTable &table,
                                       std::span<const NodeId> nodes) const {
    std::vector<NodeId> result;
    StopCounter stop;
    for (const NodeId node : nodes) {
        stop.step();
        if (accepts(table, node)) result.push_back(node);
    }
    return result;
}

std::vector<ValueTest> NodeFilter::valueTests() const {
    std::vector<ValueTest> result;
    for (const FieldTest &test : tests_) {
        if (test.field == Field::value && !test.negated) result.push_back(test.text);
    }
    return result;
}

}  // namespace zdbs::embedded
