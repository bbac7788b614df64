#include "zdbs/sql/tree_teller.h"

#include "zdbs/sql/declarations.h"

namespace zdbs::sql {

NumberedName NameNumbers::of(const Path &path) {
    const auto next = static_cast<std::uint32_t>(numbers_.size());
    const auto key = std::make_tuple(path.key.local, path.key.prefix, path.key.uri);
    return {numbers_.emplace(key, next).first->second, path.name()};
}

std::vector<NamespaceDeclaration> TreeTeller::declarationsOf(const NodeRow &row) const {
    if (!summary_[row.path].is(NodeKind::element)) return {};
    return declarationsIn(row.value);
}

void TreeTeller::tell(const NodeRow &row, const std::vector<NamespaceDeclaration> &declarations) {
    for (; !open_.empty() && open_.back() < row.row.id; open_.pop_back())
        events_.endElement();
    const Path &path = summary_[row.path];
    const auto mark = marks_.find(row.row);
    const std::vector<HitRange> hits =
        mark == marks_.end() ? std::vector<HitRange>() : hitsIn(row.value, mark->second);
    switch (path.key.kind) {
        case NodeKind::element:
            events_.startElement(names_.of(path));
            for (const NamespaceDeclaration &one : declarations)
                events_.namespaceDeclaration(one.prefix, one.uri);
            open_.push_back(row.last);
            return;
        case NodeKind::attribute:
            return events_.attribute(names_.of(path), row.value, hits);
        case NodeKind::text:
            return events_.text(row.value, hits);
        case NodeKind::comment:
            return events_.comment(row.value);
        case NodeKind::processingInstruction:
            return events_.processingInstruction(path.key.local, row.value);
    }
}

void TreeTeller::end() {
    for (; !open_.empty(); open_.pop_back())
        events_.endElement();
}

std::string placeOf(Excerpt &excerpt, const NodeRow &row) {
    std::string place;
    for (const NodeRow *up = &row; !excerpt.pathOf(*up).isRoot(); up = &excerpt.parentOf(*up)) {
        const Path &path = excerpt.pathOf(*up);
        const std::string name = writtenName(path);
        place.insert(0, path.isAttribute() ? "/@" + name
                                           : "/" + name + "[" + std::to_string(up->ordinal) + "]");
    }
    return place;
}

}  // namespace zdbs::sql
