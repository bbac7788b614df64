/** The field terms of a conjunction, tested node by node. */
#ifndef ZDBS_EMBEDDED_EVALUATE_NODE_FILTER_H
#define ZDBS_EMBEDDED_EVALUATE_NODE_FILTER_H

#include <span>
#include <vector>

#include "zdbs/embedded/tree/node_table.h"
#include "zdbs/embedded/values/value_test.h"
#include "zdbs/language/command.h"

namespace zdbs::embedded {

/** Kinds whose nodes have the field N_NAME, and N_NAMESPACE. */
bool hasName(NodeKind kind);
bool hasNamespace(NodeKind kind);

/** A field term, prepared for testing many nodes. */
struct FieldTest {
    Field field;
    bool negated;
    ValueTest text;     ///< of the fields that are texts
    Relation relation;  ///< of the fields that are numbers
    double number;      ///< that is compared with numbers of records
    double before;      ///< see NodeFilter

    /** What numbers of nodes are compared with. */
    double nodeNumber() const { return number - before; }

    /** Whether the term holds of a name or namespace, `negated` not regarded. */
    bool holdsOf(const NodeName &name) const;

    /**
     * Whether the term holds of the number of a node or its parent, noNode at the top of a
     * document, `negated` not regarded.
     */
    bool holdsOf(NodeId node) const;
};

/**
 * A conjunction of field terms, some of them negated. A node without the field that
 * a term asks about does not satisfy the term: an element has no value, a text no
 * name. Terms are tested in the order of what they cost.
 */
class NodeFilter {
public:
    /** @param before what numbers of records are greater by than those of the table's nodes */
    explicit NodeFilter(RecordId before = 0) : before_(static_cast<double>(before)) {}

    void add(const FieldTerm &term, bool negated);

    bool empty() const { return tests_.empty(); }
    bool accepts(const NodeTable &table, NodeId node) const;

    /** Those of `nodes` that are accepted. */
    std::vector<NodeId> select(const NodeTable &table, std::span<const NodeId> nodes) const;

    /** The tests that a value must pass; negated ones are not among them. */
    std::vector<ValueTest> valueTests() const;

    /** Cheap ones first. */
    std::span<const FieldTest> tests() const { return tests_; }

private:
    static bool satisfies(const NodeTable &table, NodeId node, const FieldTest &test);

    double before_;
    std::vector<FieldTest> tests_;
};

}  // namespace zdbs::embedded

#endif
