#include "zdbs/embedded/positions/range_positions.h"

#include <array>
#include <vector>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/paths/row_reader.h"
#include "zdbs/embedded/positions/merged_parts.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::embedded {
namespace {

PathNodes ofKind(const PathTable &table, const PathNodes &nodes, bool isAttribute) {
    PathNodes result = nodes;
    std::erase_if(result, [&](const PathPart &part) {
        return (table.summary()[part.path].kind == NodeKind::attribute) != isAttribute;
    });
    return result;
}

/** The members that one context after the other selects. */
class RangeStep {
public:
    RangeStep(const NodeTable &nodes, const PathTable &table, Axis axis, const PathNodes &members,
              PositionTest test)
        : nodes_(nodes),
          table_(table),
          axis_(axis),
          members_(table, members),
          places_(members_.numbers()),
          satisfying_(test),
          opened_(members_.numbers().size() + 1) {}

    void addContexts(const PathPart &part) {
        DocumentFinder finder(nodes_);
        RowReader reader(table_, part.path, *part.rows);
        std::array<NodeId, RowReader::batchSize> numbers;
        for (RowBatch batch; reader.next(batch);) {
            heedStop();
            readNodes(batch, numbers);
            for (std::size_t i = 0; i < batch.rows.size(); ++i) {
                const auto [first, last] =
                    reachedFrom({part.path, batch.rows[i]}, numbers[i], finder);
                add(first, last);
            }
        }
    }

    void addRoot(const DocumentRange &document) { add(document.first, document.last); }

    PathNodes selected() const {
        PathNodes result;
        members_.select([this](auto &kept) { keepSelected(kept); }, result);
        return result;
    }

private:
    /** Numbers first … last; none when first > last. */
    struct NumberRange {
        NodeId first;
        NodeId last;
    };

    NumberRange reachedFrom(PathRow row, NodeId node, DocumentFinder &finder) const {
        const AxisTraits &axis = traitsOf(axis_);
        if (axis.region == Region::before) return {finder.documentOf(node).first, node - 1};
        const bool isElement = table_.summary()[row.path].kind == NodeKind::element;
        const NodeId last = isElement ? table_.lastBelow(row) : node;
        if (axis.region == Region::after) return {last + 1, finder.documentOf(node).last};
        return {axis.withSelf ? node : node + 1, last};
    }

    /** A context that reaches the members with the numbers first … last. */
    void add(NodeId firstNumber, NodeId lastNumber) {
        const std::size_t first = places_.placeOf(firstNumber);
        const std::size_t end = places_.placeOf(lastNumber + 1);
        if (first >= end) return;
        for (const Positions &positions : satisfying_.of(end - first)) {
            if (positions.first > positions.last) continue;
            if (traitsOf(axis_).isReverse()) {
                open(end - positions.last, end - positions.first + 1);
            } else {
                open(first + positions.first - 1, first + positions.last);
            }
        }
    }

    void open(std::size_t first, std::size_t end) {
        ++opened_[first];
        --opened_[end];
    }

    template <typename Collector>
    void keepSelected(Collector &kept) const {
        std::int64_t open = 0;
        std::uint64_t first = 0;
        for (std::uint64_t place = 0; place < opened_.size(); ++place) {
            const bool wasOpen = open > 0;
            open += opened_[place];
            if (wasOpen && open == 0) kept.add(first, place);
            if (!wasOpen && open > 0) first = place;
        }
    }

    const NodeTable &nodes_;
    const PathTable &table_;
    const Axis axis_;
    const MergedParts members_;
    const NumberIndex places_;
    const SatisfyingPositions satisfying_;
    std::vector<std::int32_t> opened_;  ///< ranges that begin at a place, less those that end
};

PathNodes selectInTree(const NodeTable &nodes, const PathTable &table, const PositionStep &step,
                       const PathNodes &members, PositionTest test) {
    RangeStep range(nodes, table, step.axis, members, test);
    for (const PathPart &part : step.contexts.nodes)
        range.addContexts(part);
    if (traitsOf(step.axis).region == Region::below) {
        for (DocumentIndex root : step.contexts.roots)
            range.addRoot(nodes.documents()[root]);
    }
    return range.selected();
}

/** Whether a node of one set can have one of the other above it. */
bool canBeAbove(const PathSummary &summary, const PathNodes &high, const PathNodes &low) {
    for (const PathPart &part : low) {
        if (!summary[part.path].isRegular) return true;
        for (PathId up = summary[part.path].parent; up != noPath; up = summary[up].parent) {
            if (partOf(high, up) != nullptr) return true;
        }
    }
    return false;
}

/** An attribute is its own descendant-or-self, and nobody else's. */
PathNodes selectThemselves(const PathTable &table, const PositionStep &step, PositionTest test) {
    if (!SatisfyingPositions(test).hold(1, 1)) return {};
    return intersected(ofKind(table, step.contexts.nodes, true), step.members);
}

}  // namespace

bool reachesRange(Axis axis) {
    const AxisTraits &traits = traitsOf(axis);
    const bool isBelow = traits.region == Region::below && !traits.isDirect;
    return isBelow || traits.region == Region::after || traits.region == Region::before;
}

std::optional<PathNodes> selectRangePositions(const NodeTable &nodes, const PathTable &table,
                                              const PositionStep &step, PositionTest test) {
    const AxisTraits &axis = traitsOf(step.axis);
    const PathNodes members = ofKind(table, step.members, false);
    if (axis.region == Region::before && canBeAbove(table.summary(), members, step.contexts.nodes))
        return std::nullopt;
    PathNodes result;
    if (!members.empty()) result = selectInTree(nodes, table, step, members, test);
    if (!axis.withSelf) return result;
    return united(table, std::move(result), selectThemselves(table, step, test));
}

}  // namespace zdbs::embedded
