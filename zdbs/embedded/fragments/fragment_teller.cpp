#include "zdbs/embedded/fragments/fragment_teller.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/fragments/path_fragments.h"

namespace zdbs::embedded {

FragmentTeller::FragmentTeller(const NodeTable &nodes, SetNodes sets, const HitRanges *hits,
                               FragmentVisitor &visitor)
    : reader_(*nodes.paths()),
      nearby_(nodes, *nodes.paths()),
      evaluator_(nearby_, std::move(sets)),
      places_(nodes, reader_),
      paths_(nearby_),
      documents_(nodes),
      teller_(nodes, reader_, hits),
      visitor_(visitor) {}

void FragmentTeller::tell(std::span<const NodeId> nodes, std::span<const FragmentSpec> specs) {
    std::vector<PathFragments> selections;
    for (const FragmentSpec &spec : specs)
        selections.emplace_back(spec, reader_);
    const auto take = [this](NodeId node, PathId path) { tellNode(node, path); };
    for (const NodeId node : nodes) {
        heedStop();
        const PathMatch match(reader_, node);
        for (std::size_t i = 0; i < specs.size(); ++i) {
            if (selections[i].select(match, take)) continue;
            for (const NodeId selected : evaluator_.select(specs[i], node))
                tellNode(selected, reader_.pathOf(selected));
        }
    }
}

void FragmentTeller::tellNode(NodeId node, PathId path) {
    const std::string_view document = documents_.documentOf(node).name;
    const NodePlace *const place = places_.of(path, node);
    NodeEvents &events = visitor_.beginFragment(
        node, document, place != nullptr ? std::string_view(place->path) : paths_.of(node));
    const bool isElement = reader_.summary()[path].kind == NodeKind::element;
    declarations_.clear();
    if (isElement) {
        if (place == nullptr) scope_ = namespacesInScope(nearby_, node);
        const std::vector<NamespaceDeclaration> &scope = place != nullptr ? place->scope : scope_;
        // Nothing to undeclare where the fragment goes.
        std::copy_if(scope.begin(), scope.end(), std::back_inserter(declarations_),
                     [](const NamespaceDeclaration &one) { return !one.uri.empty(); });
    }
    teller_.tellTree(node, path, isElement ? reader_.lastBelow(path, node) : node, declarations_,
                     events);
    visitor_.endFragment();
}

}  // namespace zdbs::embedded
