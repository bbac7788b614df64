/** Expressions evaluated over a collection: for many contexts at once, and by sets. */
#ifndef ZDBS_XPATH_EVALUATOR_H
#define ZDBS_XPATH_EVALUATOR_H

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zdbs/xpath/expression_text.h"
#include "zdbs/xpath/step_counts.h"
#include "zdbs/xpath/values.h"

namespace zdbs::xpath {

/** What an expression is evaluated for. */
struct Contexts {
    std::span<const Node> nodes = {};
    std::span<const std::uint32_t> positions = {};  ///< empty: nobody asks
    std::span<const std::uint32_t> sizes = {};
    bool isCollection = false;  ///< one context, which is all documents; no nodes

    std::size_t size() const { return isCollection ? 1 : nodes.size(); }
};

/** Picks the nodes of a set that pass a comparison. */
using NodeTrial = std::function<NodeSet(const NodeSet &)>;

using CountTrial = std::function<bool(std::uint64_t)>;

/** Most pairs of a context and a node of a step that are kept at a time. */
constexpr std::size_t mostPairs = std::size_t{1} << 27U;

/** How much is done at once. */
struct Limits {
    std::size_t batch = std::size_t{1} << 18U;  ///< contexts
    std::size_t pairs = std::size_t{1} << 22U;  ///< of contexts with nodes of a step
    std::size_t many = std::size_t{1} << 15U;   ///< nodes that are searched, not looked at
};

/** How a part of an expression was found: a step, or a predicate tried on a set. */
struct PartFound {
    std::string part;               ///< in full form
    std::string_view way;           ///< "step", "sets", "names", "batches" or "once"
    std::uint64_t nodes;            ///< that it leads to, or lets pass
    std::chrono::nanoseconds time;  ///< with the parts in it
};

/** The path of an expression that can be asked for from its last step on, or null. */
const Path *pathThatCanBeGoneBack(const Expression &expression);

/** The path of an expression whose last step may be counted, not listed, or null. */
const Path *countablePath(const Expression &expression);

/**
 * Evaluates expressions over one state of a database.
 *
 * An expression has a column of values for its contexts. What does not depend on the context node
 * is evaluated once for each document, what repeats once for each node. A path from a single
 * context is a chain of sets, which the engine relates as it keeps them; from many contexts it is
 * pairs of contexts and nodes. A predicate that counts no positions is tried on a set: parts that
 * ask for the existence of nodes, or compare them with what is the same for all, are answered by
 * joins from behind (set_predicates.cpp, set_comparisons.cpp), what asks for names once for each
 * name, the rest in batches on the nodes that remain.
 *
 * Throws Failure: requestFailed where there are more pairs than mostPairs, and what an engine
 * throws.
 */
class Evaluator {
public:
    /** The collection must outlive it, and what is evaluated. */
    explicit Evaluator(const Collection &collection, Limits limits = Limits())
        : collection_(collection), limits_(limits) {}
    Evaluator(const Evaluator &) = delete;
    Evaluator &operator=(const Evaluator &) = delete;

    /** For the whole collection: one entry. */
    Value evaluate(const Expression &expression);

    /** Calls `observer` for each part that a set was found by, inner ones first. */
    void observe(std::function<void(const PartFound &)> observer) {
        observer_ = std::move(observer);
    }

private:
    using Clock = std::chrono::steady_clock;

    /** Of an expression that is the same for all nodes of a document. */
    struct OfDocuments {
        Nodes roots;
        Value value;
    };

    Value evaluate(const Expression &expression, const Contexts &contexts);
    Value byDocument(const Expression &expression, const Contexts &contexts);
    Value ofDistinct(const Expression &expression, const Contexts &contexts);
    Value compute(const Expression &expression, const Contexts &contexts);

    // By form.
    Value of(const StringLiteral &literal, const Contexts &contexts);
    Value of(const NumberLiteral &literal, const Contexts &contexts);
    Value of(const Call &call, const Contexts &contexts);
    Value of(const Operation &operation, const Contexts &contexts);
    Value of(const Path &path, const Contexts &contexts);

    // functions_of_nodes.cpp
    Value ofNodes(const Call &call, const Contexts &contexts);
    Value position(const Call &call, const Contexts &contexts);
    Value names(Function function, const Value &nodes);
    Value count(const Expression &nodes, const Contexts &contexts);
    Value sum(const Value &nodes);
    Value language(const Value &wanted, const Contexts &contexts);
    Value identified(const Value &wanted, const Contexts &contexts);
    const std::map<std::string, Nodes, std::less<>> &identifiers();
    std::vector<Value> arguments(const Call &call, const Contexts &contexts);

    // Operations.
    Value logical(const Operation &operation, const Contexts &contexts);
    Value arithmetic(const Operation &operation, const Contexts &contexts);
    Value united(const Operation &operation, const Contexts &contexts);

    template <typename Part>
    NodeSet told(const Part &part, std::string_view way, NodeSet found,
                 Clock::time_point begin) const {
        if (observer_)
            observer_({textOf(part), way, collection_.sizeOf(found), Clock::now() - begin});
        return found;
    }

    // paths.cpp
    NodeSet ofOne(const Path &path, NodeSet start);
    NodeSet step(const NodeSet &contexts, const Step &step);
    NodeSet countedAmongSiblings(const NodeSet &found, const Step &step);
    NodeSet placed(const NodeSet &set, const Expression &predicate);
    NodeSet placedInOrder(const NodeSet &set, const Expression &predicate);
    NodeSet placedOneByOne(const NodeSet &set, const Expression &predicate);
    std::optional<NodeSet> stepToPlaces(const NodeSet &contexts, const Step &step);
    NodeSet stepByPairs(const NodeSet &contexts, const Step &step);
    Groups ofMany(const Path &path, Groups start);
    Groups step(const Groups &groups, const Step &step);
    Groups pairs(std::span<const Node> contexts, const Step &step);
    Groups filtered(const Groups &groups, const Expression &predicate, bool isReverse);
    Groups filteredByPosition(const Groups &groups, const Expression &predicate, bool isReverse);
    std::vector<char> kept(const Expression &predicate, const Contexts &contexts);

    // set_predicates.cpp
    NodeSet filtered(const NodeSet &set, const Expression &predicate);
    NodeSet filteredInBatches(const NodeSet &set, const Expression &predicate);
    std::optional<NodeSet> bySets(const NodeSet &set, const Expression &predicate);
    std::optional<NodeSet> byOperation(const NodeSet &set, const Operation &operation);
    std::optional<NodeSet> byCall(const NodeSet &set, const Call &call);
    NodeSet byEither(const NodeSet &set, const std::vector<ExpressionPtr> &operands);
    NodeSet leadingTo(const NodeSet &set, const Path &path, const NodeTrial *trial);

    // set_comparisons.cpp
    std::optional<NodeSet> byComparison(const NodeSet &set, const Operation &operation);
    std::optional<NodeSet> bySearch(const NodeSet &set, const Call &call);
    std::optional<NodeTrial> trialOf(Relation relation, const Expression &other);
    NodeSet narrowed(const NodeSet &set, const Expression &predicate);
    bool isSame(const Expression &expression) const;

    // set_counts.cpp
    std::optional<NodeSet> byCount(const NodeSet &set, const Operation &operation);
    std::optional<NodeSet> countedByPlaces(const NodeSet &set, const Path &path, Relation relation,
                                           double number);
    NodeSet counted(const NodeSet &set, const Path &path, const CountTrial &passes);
    std::optional<NodeSet> countedOneByOne(const NodeSet &set, const Path &path,
                                           const CountTrial &passes);

    // axis_counts.cpp
    std::optional<std::vector<std::uint64_t>> countsOf(const Path &path,
                                                       std::span<const Node> contexts);
    std::shared_ptr<const StepCounts> countsOf(const Step &step, std::span<const Node> contexts);

    // name_predicates.cpp
    std::optional<NodeSet> byNames(const NodeSet &set, const Expression &predicate);

    const Collection &collection_;
    const Limits limits_;
    std::function<void(const PartFound &)> observer_;
    std::map<const Expression *, OfDocuments> ofDocuments_;
    std::map<const Step *, std::shared_ptr<const StepCounts>> ofAllContexts_;
    std::optional<std::map<std::string, Nodes, std::less<>>> identifiers_;
};

}  // namespace zdbs::xpath

#endif
