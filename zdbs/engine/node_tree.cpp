#include "zdbs/engine/node_tree.h"

#include <cstddef>

namespace zdbs {

std::vector<ResultSetPtr> NodeTree::byName(const ResultSet &set) const {
    const std::vector<RecordId> records = numbers(set);
    const NamesOfNodes names = this->names(set);
    std::vector<std::vector<RecordId>> lists(names.distinct.size());
    for (std::size_t i = 0; i < records.size(); ++i)
        lists[names.which[i]].push_back(records[i]);
    std::vector<ResultSetPtr> parts;
    for (const std::vector<RecordId> &list : lists) {
        if (!list.empty()) parts.push_back(listed(list));
    }
    return parts;
}

}  // namespace zdbs
