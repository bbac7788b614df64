/** The documents that an expression is asked of: sets of nodes related by steps, and their facts.
 */
#ifndef ZDBS_XPATH_COLLECTION_H
#define ZDBS_XPATH_COLLECTION_H

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/engine/engine.h"
#include "zdbs/xpath/expression.h"
#include "zdbs/xpath/nodes.h"

namespace zdbs::xpath {

/** A set of nodes in whatever form the engine has it. A value. */
using NodeSet = NodesAndRoots;

/** String-values of nodes; views live as long as this and the collection. */
struct StringValues {
    std::vector<std::string_view> texts;
    std::deque<std::string> made = {};  ///< those that are put together of several
};

/** One state of a database. One thread at a time. */
class Collection {
public:
    /** The database must outlive it, and not be refreshed meanwhile. */
    explicit Collection(const OpenDatabase &database);
    Collection(const Collection &) = delete;
    Collection &operator=(const Collection &) = delete;

    const OpenDatabase &database() const { return database_; }
    const NodeTree &tree() const { return *tree_; }

    // Documents.
    std::size_t documentCount() const { return tree_->documents().size(); }
    std::size_t documentOf(Node node) const;
    Node rootOf(Node node) const { return root(documentOf(node)); }
    Node root(std::size_t document) const;
    Node lastOf(std::size_t document) const { return nodeOf(tree_->documents()[document].last); }
    const NodeSet &roots() const { return roots_; }

    // Sets.
    const NodeSet &none() const { return none_; }
    /** Those of nodesOf() and picked() lately are the sets that they are of, not lists. */
    NodeSet setOf(std::span<const Node> ascending) const;
    /** As setOf(), where it is known what they are of. REQUIRES that they are of the set. */
    NodeSet picked(const NodeSet &set, std::span<const Node> ascending) const;
    Nodes nodesOf(const NodeSet &set) const;

    /** In document order. REQUIRES that it is not empty. */
    Node firstOf(const NodeSet &set) const;

    /** The node at a place in document order, from 1 on; none where there are fewer. */
    NodeSet nodeAt(const NodeSet &set, double place) const;
    std::uint64_t sizeOf(const NodeSet &set) const;
    bool isEmpty(const NodeSet &set) const { return sizeOf(set) == 0; }
    NodeSet united(const NodeSet &a, const NodeSet &b) const;
    NodeSet common(const NodeSet &a, const NodeSet &b) const;
    NodeSet without(const NodeSet &a, const NodeSet &b) const;

    /** Every node that a test lets pass behind an axis. */
    NodeSet passing(Axis axis, const NodeTest &test) const;

    /** The nodes that a step leads to, predicates aside. */
    NodeSet reached(const NodeSet &contexts, Axis axis, const NodeTest &test) const;

    /** Those of `contexts` from which an axis leads to one of `targets`. */
    NodeSet leading(const NodeSet &contexts, Axis axis, const NodeSet &targets) const;

    /** Those at places among the nodes of the set with the same parent; no roots. */
    NodeSet atPosition(const NodeSet &set, Relation relation, double place) const;

    /**
     * Those at places on an axis, counted for each context among the nodes that a test lets pass;
     * nothing where the engine counts otherwise, or other nodes.
     */
    std::optional<NodeSet> placedOnAxis(const NodeSet &contexts, Axis axis, const NodeTest &test,
                                        Relation relation, double place) const;

    /** Those whose kind is element, and the roots. */
    NodeSet containers(const NodeSet &set) const;

    NodeSet attributesAmong(const NodeSet &set) const;

    /** Elements that the engine knows to have the value of their only text, or of none. */
    NodeSet withOneText(const NodeSet &containers) const {
        return {tree_->withOneText(*containers.nodes), {}};
    }

    /** Whether steps down from a set cost little for each node. */
    bool isKeptTogether(const NodeSet &set) const { return tree_->isKeptTogether(*set.nodes); }

    // Facts of nodes. REQUIRES ascending ones. Where the set is at hand that they are of, the
    // engine need not find out where each of them is.
    /** Of a root: itself. */
    Nodes parents(std::span<const Node> nodes) const { return parents(nodes, setOf(nodes)); }
    Nodes parents(std::span<const Node> nodes, const NodeSet &set) const;

    /** The last node below each, or itself. */
    Nodes ends(std::span<const Node> nodes) const { return ends(nodes, setOf(nodes)); }
    Nodes ends(std::span<const Node> nodes, const NodeSet &set) const;
    StringValues strings(std::span<const Node> nodes) const { return strings(nodes, setOf(nodes)); }
    StringValues strings(std::span<const Node> nodes, const NodeSet &set) const;
    NamesOfNodes names(std::span<const Node> nodes) const { return names(nodes, setOf(nodes)); }
    NamesOfNodes names(std::span<const Node> nodes, const NodeSet &set) const;

private:
    /** A set, and the nodes that it has. */
    struct Listed {
        NodeSet set;
        Nodes nodes;
    };

    ResultSetPtr matching(const NodePattern &pattern) const;
    void remember(const NodeSet &set, std::span<const Node> nodes) const;
    std::vector<std::uint32_t> rootsAmong(std::span<const Node> nodes) const;
    bool leadsToAll(const NodeSet &contexts, Axis axis, const NodeTest &test) const;
    const ResultSetPtr &contained() const;
    std::vector<std::uint32_t> rootsReached(const NodeSet &contexts, Axis axis) const;
    std::vector<std::uint32_t> documentsOf(const ResultSet &set) const;
    ResultSetPtr atTop(const ResultSet &set) const;
    void addContained(std::span<const Node> nodes, const NodeSet &containers,
                      StringValues &result) const;

    const OpenDatabase &database_;
    std::unique_ptr<NodeTree> tree_;
    ResultSetPtr everything_;
    NodeSet roots_;
    NodeSet none_;
    mutable std::map<std::string, ResultSetPtr> matching_;  ///< by kind and name
    mutable ResultSetPtr contained_;                        ///< once it is asked for
    mutable std::array<Listed, 4> listed_;                  ///< the latest, in turn
    mutable std::size_t nextListed_ = 0;
};

/** How many nodes of a step are asked for of each context, from one end of the axis on. */
struct Reach {
    std::size_t most = 0;       ///< 0: all
    bool isFromTheFar = false;  ///< the furthest ones, not the nearest
};

/** For each context the nodes of a step in document order, predicates aside. */
class StepPairs {
public:
    /** REQUIRES ascending contexts. Of children and descendants there may be more than asked. */
    StepPairs(const Collection &collection, std::span<const Node> contexts, Axis axis,
              const NodeTest &test, Reach reach = {})
        : StepPairs(collection, contexts, axis,
                    collection.reached(collection.setOf(contexts), axis, test), reach) {}

    /** @param found what the step leads to, or those of it that are wanted */
    StepPairs(const Collection &collection, std::span<const Node> contexts, Axis axis,
              NodeSet found, Reach reach = {});

    /** Nothing where there are more pairs than `most`; a single context has all of its. */
    std::optional<Groups> within(std::size_t most) const;

private:
    Groups byParent() const;
    Groups inOrderOf(const Nodes &parents) const;
    std::optional<Groups> below(std::size_t most) const;
    Groups single() const;
    Groups above() const;
    std::optional<Groups> besides(std::size_t most) const;
    std::optional<Groups> outside(std::size_t most) const;
    void addBehind(Node end, Groups &result) const;
    void addBefore(Node node, const Nodes &ends, Groups &result) const;
    std::span<const Node> asked(std::span<const Node> inOrder) const;

    const Collection &collection_;
    std::span<const Node> contexts_;
    const AxisTraits &axis_;
    Reach reach_;
    NodeSet foundSet_;
    Nodes found_;  ///< of all contexts
};

}  // namespace zdbs::xpath

#endif
