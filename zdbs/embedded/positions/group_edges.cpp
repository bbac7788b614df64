#include "zdbs/embedded/positions/group_edges.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace zdbs::embedded {
namespace {

constexpr std::uint64_t deepest = 4;        ///< position that is kept for each group
constexpr std::uint64_t worthEntries = 16;  ///< groups a node that are not worth an entry each
constexpr std::uint64_t most = std::uint64_t{1} << 22;  ///< entries

std::uint64_t depthOf(std::int64_t position) {
    return static_cast<std::uint64_t>(position < 0 ? -position : position);
}

/** A node with its row in one number that ascends with the distance from the edge. */
struct Edge {
    static constexpr std::uint64_t none = ~std::uint64_t{0};

    std::uint64_t place = none;
    std::uint32_t part = 0;
};

/** Of each group the `depth` nodes nearest to the edge, the nearest first. */
template <std::size_t depth>
class Edges {
public:
    Edges(const SiblingFamily &family, bool fromEnd)
        : family_(family), flip_(fromEnd ? Edge::none : 0), groups_(family.keyCount()) {
        for (std::uint32_t part = 0; part < family.parts().size(); ++part)
            add(part);
    }

    /** By part: the rows of the nodes that are farthest of those kept. */
    std::vector<std::vector<RowId>> rows() const {
        std::vector<std::vector<RowId>> result(family_.parts().size());
        for (const auto &group : groups_) {
            const Edge &edge = group.back();
            if (edge.place == Edge::none) continue;
            const auto row = static_cast<RowId>(edge.place ^ flip_);
            std::vector<RowId> &of = result[edge.part];
            // In damaged files only do the rows of later groups not come later.
            if (of.empty() || of.back() < row) of.push_back(row);
        }
        return result;
    }

private:
    using Group = std::array<Edge, depth>;

    void add(std::uint32_t part) {
        const auto last = static_cast<SiblingKey>(groups_.size() - 1);
        std::array<NodeId, RowReader::batchSize> numbers;
        family_.forKeys(family_.parts()[part],
                        [&](const RowBatch &batch, std::span<const SiblingKey> keys) {
                            readNodes(batch, numbers);
                            for (std::size_t i = 0; i < keys.size(); ++i)
                                insert(groups_[std::min(keys[i], last)],
                                       {placeOf(numbers[i], batch.rows[i]), part});
                        });
    }

    std::uint64_t placeOf(NodeId node, RowId row) const {
        return (std::uint64_t{node} << 32 | row) ^ flip_;
    }

    static void insert(Group &group, Edge edge) {
        for (Edge &kept : group) {
            const bool isNearer = edge.place < kept.place;
            const Edge nearer = isNearer ? edge : kept;
            edge = isNearer ? kept : edge;
            kept = nearer;
        }
    }

    const SiblingFamily &family_;
    const std::uint64_t flip_;  ///< makes places ascend from the end on
    std::vector<Group> groups_;
};

template <std::size_t depth>
std::vector<std::vector<RowId>> rowsAt(const SiblingFamily &family, std::int64_t position) {
    if (depthOf(position) == depth) return Edges<depth>(family, position < 0).rows();
    if constexpr (depth < deepest) return rowsAt<depth + 1>(family, position);
    return {};
}

/** The first or the last node of each group of one path: where the keys change. */
void selectOfOnePath(const SiblingFamily &family, std::int64_t position, PathNodes &result) {
    const PathPart &part = family.parts().front();
    const bool takesLast = position < 0;
    RowCollector kept;
    std::array<RowId, RowReader::batchSize> chosen;
    SiblingKey lastKey = 0;
    RowId lastRow = part.rows->minimum();
    bool isFirst = true;
    family.forKeys(part, [&](const RowBatch &batch, std::span<const SiblingKey> keys) {
        if (isFirst) lastKey = takesLast ? keys.front() : keys.front() + 1;
        isFirst = false;
        std::size_t count = 0;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            chosen[count] = takesLast ? lastRow : batch.rows[i];
            count += keys[i] != lastKey ? 1 : 0;
            lastKey = keys[i];
            lastRow = batch.rows[i];
        }
        kept.add(std::span(chosen).first(count));
    });
    if (takesLast) kept.add(lastRow);
    family.addRowsOf(part, kept, result);
}

}  // namespace

bool hasEdge(const SiblingFamily &family, std::int64_t position) {
    const std::uint64_t groups = family.keyCount();
    const std::uint64_t depth = depthOf(position);
    if (family.parts().size() == 1) return depth == 1 && !family.hasLongGroups();
    return depth > 0 && depth <= deepest && groups > 0 && groups * depth <= most &&
           groups <= sizeOf(family.parts()) * worthEntries;
}

void selectEdge(const SiblingFamily &family, std::int64_t position, PathNodes &result) {
    if (family.parts().size() == 1) return selectOfOnePath(family, position, result);
    const std::vector<std::vector<RowId>> rows = rowsAt<1>(family, position);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        RowCollector kept;
        kept.add(rows[i]);
        family.addRowsOf(family.parts()[i], kept, result);
    }
}

}  // namespace zdbs::embedded
