/** What fragment specifications select, and trees told as events. */
#ifndef TESTS_ENGINE_CONFORMANCE_NAIVE_FRAGMENTS_H
#define TESTS_ENGINE_CONFORMANCE_NAIVE_FRAGMENTS_H

#include <map>
#include <string>
#include <tuple>

#include "tests/engine_conformance/naive/sets.h"
#include "zdbs/engine/events.h"
#include "zdbs/engine/fragments.h"

namespace zdbs::naive {

/** What a specification selects from a node, in document order. */
Places selected(const Forest &forest, const FragmentSpec &spec, Place from);

/** Where a node stands: /a[1]/p:b[2]/@id. */
std::string pathOf(const Forest &forest, Place node);

/** Its value; of an element the texts below it. */
std::string stringValueOf(const Forest &forest, Place node);

/** Numbers names in the order of their use. */
class NameNumbers {
public:
    NumberedName of(const Node &node);

private:
    std::map<std::tuple<std::string, std::string, std::string>, std::uint32_t> numbers_;
};

/** Tells the node of a fragment and what is below it, with the namespaces in scope there. */
void tellFragment(const Forest &forest, const Leaves &marked, NameNumbers &numbers, Place node,
                  NodeEvents &events);

/** Tells a document as it was loaded. */
void tellDocument(const Forest &forest, std::size_t document, NodeEvents &events);

}  // namespace zdbs::naive

#endif
