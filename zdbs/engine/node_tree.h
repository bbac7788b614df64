/** The nodes of a database as XPath 1.0 relates them: sets by axes, and facts of whole sets. */
#ifndef ZDBS_ENGINE_NODE_TREE_H
#define ZDBS_ENGINE_NODE_TREE_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/base/axis.h"
#include "zdbs/base/node.h"
#include "zdbs/base/relation.h"
#include "zdbs/engine/result_set.h"

namespace zdbs {

/** The records of a document: all from `first` to `last`. */
struct DocumentSpan {
    RecordId first;
    RecordId last;
};

/** Records, and the roots of documents, by their places in NodeTree::documents(). */
struct NodesAndRoots {
    ResultSetPtr nodes;
    std::vector<std::uint32_t> roots = {};  ///< ascending
};

/** Nodes of a kind and, where that is said, of a name; names are compared after expansion. */
struct NodePattern {
    NodeKind kind = NodeKind::element;
    std::optional<std::string> local = std::nullopt;  ///< of an instruction its target
    std::optional<std::string> uri = std::nullopt;    ///< empty: no namespace
};

/** What a value is tried against. */
struct ValuePattern {
    Relation relation = Relation::equal;
    std::string literal;
    bool asNumber = false;  ///< a literal that is a canonical decimal compares as a number
};

/** The names of some nodes. */
struct NamesOfNodes {
    std::vector<NodeName> distinct;
    std::vector<std::uint32_t> which;  ///< for each node the place of its name in `distinct`
};

/**
 * One state of a database for those who compute with its nodes. In a document the records are
 * dense, and those below a node follow it: an element, its attributes, what it contains; up to its
 * end. Sets carry nothing here but their records. What is told of a set is in its order, one for
 * each record, and lives as long as the state. One thread at a time.
 */
class NodeTree {
public:
    virtual ~NodeTree() = default;

    /** In document order. */
    virtual std::span<const DocumentSpan> documents() const = 0;

    /** REQUIRES ascending records of the state. */
    virtual ResultSetPtr listed(std::span<const RecordId> records) const = 0;
    virtual ResultSetPtr matching(const NodePattern &pattern) const = 0;

    /** As listed(), where it is known what they are of. REQUIRES ascending records of the set. */
    virtual ResultSetPtr picked(const ResultSet & /*set*/,
                                std::span<const RecordId> records) const {
        return listed(records);
    }

    virtual ResultSetPtr united(const ResultSet &a, const ResultSet &b) const = 0;
    virtual ResultSetPtr common(const ResultSet &a, const ResultSet &b) const = 0;
    virtual ResultSetPtr without(const ResultSet &a, const ResultSet &b) const = 0;

    /** The nodes of `among` on the axis of one of `contexts`. */
    virtual ResultSetPtr reached(Axis axis, const NodesAndRoots &contexts,
                                 const ResultSet &among) const = 0;

    /** Those of `contexts` that have one of `targets` on their axis. */
    virtual NodesAndRoots leading(Axis axis, const NodesAndRoots &contexts,
                                  const NodesAndRoots &targets) const = 0;

    /**
     * Those whose position, counted from 1 among the nodes of the set that have the same parent,
     * has a relation to a place, which counts from -1 backwards. REQUIRES one of the six
     * comparisons.
     */
    virtual ResultSetPtr atPosition(const ResultSet &set, Relation relation,
                                    double place) const = 0;

    /** Those that have a value, which elements do not, and one that passes. */
    virtual ResultSetPtr withValue(const ResultSet &set, const ValuePattern &pattern) const = 0;

    virtual std::vector<RecordId> numbers(const ResultSet &set) const = 0;

    /** The element around a node, or of an attribute; 0 at the top of a document. */
    virtual std::vector<RecordId> parents(const ResultSet &set) const = 0;

    /** The last record below a node; itself where there is none. */
    virtual std::vector<RecordId> ends(const ResultSet &set) const = 0;

    /** Of attributes, texts, comments and instructions; empty of elements. */
    virtual std::vector<std::string_view> values(const ResultSet &set) const = 0;

    /** Of texts and comments an empty one. */
    virtual NamesOfNodes names(const ResultSet &set) const = 0;

    /** The set in parts whose nodes have one name each; none is empty, two may have the same. */
    virtual std::vector<ResultSetPtr> byName(const ResultSet &set) const;

    /** Before what was told becomes an answer: throws Failure when it was lost meanwhile. */
    virtual void requireIntact() const {}

    /**
     * Elements of a set that have no element in them and one text at most, whose value is that of
     * the element. An engine tells those that it knows without a look at each; others are missing.
     */
    virtual ResultSetPtr withOneText(const ResultSet &elements) const = 0;

    /**
     * Whether steps down from a set cost little for each node, as it is all of what the engine
     * keeps together. A hint for plans.
     */
    virtual bool isKeptTogether(const ResultSet &) const { return false; }
};

}  // namespace zdbs

#endif
