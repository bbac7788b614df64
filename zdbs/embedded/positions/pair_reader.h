/** Walks over the pairs behind a set, one context at a time. */
#ifndef ZDBS_EMBEDDED_POSITIONS_PAIR_READER_H
#define ZDBS_EMBEDDED_POSITIONS_PAIR_READER_H

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "zdbs/embedded/positions/pairs.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::embedded {

/** A context: a node, or the root of a document. */
struct Context {
    NodeId node;             ///< noNode: the root
    DocumentIndex document;  ///< of a root
};

/** Neighbours in some ascending list, read forwards or backwards. */
struct Stretch {
    std::span<const NodeId> nodes;
    bool backwards;
};

/** The nodes of one context in axis order: stretch after stretch. */
using Stretches = std::vector<Stretch>;

std::size_t lengthOf(const Stretches &stretches);

/** The nodes one by one, in axis order. */
NodeIds flattened(const Stretches &stretches);

/** The part of `stretches` whose positions satisfy a test. */
Stretches cut(const Stretches &stretches, PositionTest test);

/** Reads pairs. Holds state of the walk; for one thread. */
class PairReader {
public:
    virtual ~PairReader() = default;

    /** The contexts that have pairs; some may have none. */
    virtual std::vector<Context> contexts() = 0;

    /**
     * The nodes of a context, which need not be one of contexts(). They are valid until
     * the next call.
     */
    virtual Stretches nodesOf(Context context) = 0;

    /** Whether axis order is backwards. */
    virtual bool isReverse() const = 0;

    /** A list that many stretches are cut from, so that they can be counted in bulk; or none. */
    virtual std::span<const NodeId> arena() const { return {}; }
};

/** Reads the pairs of an axis step. `nodes` must outlive it. */
std::unique_ptr<PairReader> openAxisPairs(const NodeTable &table, const PairStep &step,
                                          std::span<const NodeId> nodes);

/** Reads the pairs that count among siblings. `nodes` must outlive it. */
std::unique_ptr<PairReader> openSiblingPairs(const NodeTable &table, std::span<const NodeId> nodes);

}  // namespace zdbs::embedded

#endif
