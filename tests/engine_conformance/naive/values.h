/** Fields of nodes against literals, and where values are hit. */
#ifndef TESTS_ENGINE_CONFORMANCE_NAIVE_VALUES_H
#define TESTS_ENGINE_CONFORMANCE_NAIVE_VALUES_H

#include <memory>
#include <string_view>
#include <vector>

#include "tests/engine_conformance/naive/forest.h"
#include "zdbs/base/hits.h"
#include "zdbs/engine/engine.h"
#include "zdbs/language/command.h"

namespace zdbs::naive {

/** Whether a node has the field, and the field the relation to the literal. */
bool satisfies(const Forest &forest, Place node, const FieldTerm &term);

/** Whether a value passes. */
bool hasValue(std::string_view value, const ValuePattern &pattern);

/** Value conditions, and the nodes that were matched by them. */
struct Leaf {
    std::vector<FieldTerm> terms;
    Places nodes;
};
using Leaves = std::vector<std::shared_ptr<const Leaf>>;

/** Where the conditions hit that the node was matched by: ascending, overlaps made one. */
std::vector<HitRange> hitsIn(const Forest &forest, const Leaves &leaves, Place node);

/** The hits as words; one without text where there are none. */
std::vector<HitWord> hitWordsOf(const Forest &forest, const Leaves &leaves, Place node);

}  // namespace zdbs::naive

#endif
