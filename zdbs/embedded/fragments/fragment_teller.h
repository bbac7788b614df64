/** The fragments of the nodes of a set, told one after the other. */
#ifndef ZDBS_EMBEDDED_FRAGMENTS_FRAGMENT_TELLER_H
#define ZDBS_EMBEDDED_FRAGMENTS_FRAGMENT_TELLER_H

#include <span>
#include <string_view>
#include <vector>

#include "zdbs/embedded/fragments/fragment_evaluator.h"
#include "zdbs/embedded/fragments/node_paths.h"
#include "zdbs/embedded/fragments/row_places.h"
#include "zdbs/embedded/paths/reader_table.h"
#include "zdbs/engine/events.h"

namespace zdbs::embedded {

/**
 * Tells fragments by path wherever paths decide what is selected and where it stands, and finds
 * out the rest node by node. One thread at a time. Throws what the visitor throws, and
 * Failure(homeDamaged).
 */
class FragmentTeller {
public:
    /**
     * All that is handed over must outlive it. REQUIRES nodes.paths().
     * @param sets the nodes of the sets that filters name
     * @param hits of the values that are told; null: none
     */
    FragmentTeller(const NodeTable &nodes, SetNodes sets, const HitRanges *hits,
                   FragmentVisitor &visitor);

    /** Of each node what each specification selects. */
    void tell(std::span<const NodeId> nodes, std::span<const FragmentSpec> specs);

private:
    void tellNode(NodeId node, PathId path);

    NodeReader reader_;
    ReaderTable nearby_;
    FragmentEvaluator evaluator_;
    RowPlaces places_;
    NodePaths paths_;
    DocumentFinder documents_;
    TreeTeller teller_;
    FragmentVisitor &visitor_;
    std::vector<NamespaceDeclaration> scope_;         ///< scratch, as the next
    std::vector<NamespaceDeclaration> declarations_;  ///< of the element at the top of a fragment
};

}  // namespace zdbs::embedded

#endif
