#include "zdbs/sql/summary.h"

namespace zdbs::sql {

PathNumber Summary::add(const PathKey &key) {
    const auto [found, isNew] = numbers_.try_emplace(key, size());
    if (isNew) paths_.push_back({key, (*this)[key.parent].level + 1, 0});
    return found->second;
}

PathNumber Summary::above(PathNumber path, int level) const {
    while ((*this)[path].level > level)
        path = (*this)[path].key.parent;
    return path;
}

std::string writtenName(const Path &path) {
    switch (path.key.kind) {
        case NodeKind::text:
            return "text()";
        case NodeKind::comment:
            return "comment()";
        case NodeKind::processingInstruction:
            return "processing-instruction()";
        case NodeKind::element:
        case NodeKind::attribute:
            break;
    }
    return path.key.prefix.empty() ? path.key.local : path.key.prefix + ":" + path.key.local;
}

}  // namespace zdbs::sql
