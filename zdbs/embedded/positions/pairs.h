/**
 * The (context, node) pairs behind a set, which positions are counted in.
 *
 * Pairs are described, not stored: an axis step knows its contexts and the nodes
 * selected, the other kinds say how they were made from it. A position opens the
 * description and walks it context by context.
 *
 * A set without a description counts among siblings: the context of a node is its
 * parent, or its document. Such a set needs none after any operation either, for
 * each node has the one context, so that the pairs follow from the nodes.
 */
#ifndef ZDBS_EMBEDDED_POSITIONS_PAIRS_H
#define ZDBS_EMBEDDED_POSITIONS_PAIRS_H

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "zdbs/base/axis.h"
#include "zdbs/embedded/joins/join.h"
#include "zdbs/embedded/positions/position_test.h"
#include "zdbs/embedded/sets/node_list.h"
#include "zdbs/embedded/sets/plan.h"

namespace zdbs::embedded {

/** The first side of a step: nodes, and for set 0 the document roots. */
struct ContextList {
    NodeListPtr nodes;
    std::shared_ptr<const DocumentIndexes> roots;  ///< null: none

    /** Names the set whose nodes they are: different sets may share a list. Null for set 0. */
    std::shared_ptr<const void> identity = nullptr;

    Operand operand() const;

    /** Whether this is the very same side, not an equal one. */
    friend bool operator==(const ContextList &, const ContextList &) = default;
};

class PairReader;
class PairSource;
using PairSourcePtr = std::shared_ptr<const PairSource>;

/** The step that all pairs of a source were selected by. */
struct PairStep {
    ContextList contexts;
    Axis axis;

    friend bool operator==(const PairStep &, const PairStep &) = default;
};

/**
 * Description of pairs. Immutable, made by the functions below, which keep it
 * small; null everywhere means counting among siblings.
 */
class PairSource {
public:
    virtual ~PairSource() = default;
    PairSource(const PairSource &) = delete;
    PairSource &operator=(const PairSource &) = delete;

    /** Prepares a walk over the pairs. The source and the table must outlive it. */
    virtual std::unique_ptr<PairReader> open(const NodeTable &table) const = 0;

    /** The one step that all pairs come from; null when there are several. */
    virtual const PairStep *step() const = 0;

    /**
     * Whether these are all the pairs of step() with the nodes of the set behind which they
     * are, so that positions can be counted without walking the pairs.
     */
    virtual bool isWholeStep() const { return false; }

    /** What the nodes of a whole step were chosen from, where it was given; null otherwise. */
    virtual const NodeList *chosenFrom() const { return nullptr; }

    /** Descriptions that one walk reads, which bounds the cost of a context. */
    std::size_t weight() const { return weight_; }

protected:
    explicit PairSource(std::size_t weight) : weight_(weight) {}

private:
    std::size_t weight_;
};

/** More descriptions than this are a failed condition: nestedTooDeep. */
constexpr std::size_t maximalPairWeight = 1000;

/**
 * Pairs of an axis step: each context with each of `nodes` on its axis, in axis order.
 * @param chosenFrom the list of which `nodes` are those on the axis of some context; null when
 * that is not known
 */
PairSourcePtr axisPairs(ContextList contexts, Axis axis, NodeListPtr nodes,
                        NodeListPtr chosenFrom = nullptr);

/** The pairs of `source` whose node is in `nodes`. */
PairSourcePtr restrictedPairs(const PairSourcePtr &source, const NodeListPtr &nodes);

/** The pairs of `source` that satisfy a test; `nodes` are the nodes that have one. */
PairSourcePtr positionPairs(const PairSourcePtr &source, PositionTest test,
                            const NodeListPtr &nodes);

/**
 * The pairs that both sources have; `nodes` is the intersection. Where one side
 * counts among siblings, the pairs of the other are kept.
 */
PairSourcePtr intersectedPairs(const PairSourcePtr &a, const PairSourcePtr &b,
                               const NodeListPtr &nodes);

/** The pairs of sources over one step, merged; null when the steps differ. */
PairSourcePtr unitedPairs(std::span<const PairSourcePtr> sources, const NodeListPtr &nodes);

/**
 * The nodes of a set whose position satisfies a test in some context.
 * @param source the pairs behind the set; null counts among siblings
 * @param plan where the way that was taken is noted; may be null
 */
NodeListPtr selectByPosition(const NodeTable &table, const PairSource *source,
                             const NodeListPtr &nodes, PositionTest test, Plan *plan);

}  // namespace zdbs::embedded

#endif
