#include "zdbs/embedded/joins/document_join.h"

#include <algorithm>
#include <utility>

#include "zdbs/embedded/joins/column_cursor.h"
#include "zdbs/embedded/paths/row_sets.h"

namespace zdbs::embedded {
namespace {

/** The last row of a set before `end`. REQUIRES that there is one. */
RowId lastBefore(const RowSet &rows, RowId end) {
    RowId row = 0;
    rows.select(static_cast<std::uint32_t>(rows.rank(end - 1) - 1), &row);
    return row;
}

}  // namespace

/**
 * Calls `take` for each document that has nodes of a part: with its place, the first row of
 * the part in it and the row behind the last of the path in it.
 */
template <typename Take>
void DocumentJoin::forDocuments(const PathPart &part, Take take) const {
    if (nodes_.documents().empty()) return;
    DocumentFinder finder(nodes_);
    NodeCursor cursor(table_, part.path);
    roaring_uint32_iterator_t place;
    roaring_init_iterator(&part.rows->roaring, &place);
    while (place.has_value) {
        const RowId first = place.current_value;
        const NodeId node = table_.nodeAt({part.path, first});
        if (node < nodes_.documents().front().first) return;  // in damaged files only
        const DocumentIndex document = finder.indexOf(node);
        const RowId end = cursor.find(nodes_.documents()[document].last + 1);
        if (end <= first || !take(document, RowRange{first, end})) return;
        roaring_move_uint32_iterator_equalorlarger(&place, end);
    }
}

/** Keeps of each part the ranges that `choose` adds for a document's rows. */
template <typename Choose>
PathNodes DocumentJoin::keepByDocument(const PathNodes &nodes, Choose choose) const {
    PathNodes result;
    for (const PathPart &part : nodes) {
        RowRanges kept;
        forDocuments(part, [&](DocumentIndex document, RowRange rows) {
            choose(part, document, rows, kept);
            return true;
        });
        RowSetPtr rows = partInRanges(table_, part, std::move(kept));
        if (rows) result.push_back({part.path, std::move(rows)});
    }
    return result;
}

DocumentIndexes DocumentJoin::documentsOf(const PathNodes &nodes) const {
    std::vector<bool> isFound(nodes_.documents().size());
    std::size_t missing = isFound.size();
    for (const PathPart &part : nodes) {
        if (missing == 0) break;
        forDocuments(part, [&](DocumentIndex document, RowRange) {
            if (!isFound[document]) --missing;
            isFound[document] = true;
            return missing != 0;
        });
    }
    DocumentIndexes result;
    for (DocumentIndex document = 0; document < isFound.size(); ++document) {
        if (isFound[document]) result.push_back(document);
    }
    return result;
}

PathNodes DocumentJoin::inDocuments(const PathNodes &nodes,
                                    std::span<const DocumentIndex> roots) const {
    if (roots.empty()) return {};
    if (roots.size() == nodes_.documents().size()) return nodes;
    return keepByDocument(
        nodes, [&](const PathPart &, DocumentIndex document, RowRange rows, RowRanges &kept) {
            if (std::binary_search(roots.begin(), roots.end(), document)) kept.push_back(rows);
        });
}

PathNodes DocumentJoin::beginningAfter(const PathNodes &nodes, const PathNodes &others) const {
    if (nodes.empty() || others.empty()) return {};
    const NodeOfDocument ends = firstEnds(others);
    return keepByDocument(
        nodes, [&](const PathPart &part, DocumentIndex document, RowRange rows, RowRanges &kept) {
            if (ends[document] == noNode) return;
            const RowId first = table_.lowerBound(part.path, ends[document] + 1);
            kept.push_back({std::max(first, rows.first), rows.end});
        });
}

PathNodes DocumentJoin::endingBefore(const PathNodes &nodes, const PathNodes &others) const {
    if (nodes.empty() || others.empty()) return {};
    const NodeOfDocument starts = lastStarts(others);
    return keepByDocument(
        nodes, [&](const PathPart &part, DocumentIndex document, RowRange rows, RowRanges &kept) {
            const NodeId start = starts[document];
            if (start == noNode) return;
            rows.end = std::min(rows.end, table_.lowerBound(part.path, start));
            if (rows.first >= rows.end) return;
            if (table_.summary()[part.path].isRegular) {
                // Of nodes that do not nest only the last before the start can have it below.
                if (lastBelow({part.path, rows.end - 1}) >= start) --rows.end;
                return kept.push_back(rows);
            }
            for (RowId row = rows.first; row < rows.end; ++row) {
                if (lastBelow({part.path, row}) < start) kept.push_back({row, row + 1});
            }
        });
}

DocumentJoin::NodeOfDocument DocumentJoin::firstEnds(const PathNodes &nodes) const {
    NodeOfDocument result(nodes_.documents().size(), noNode);
    for (const PathPart &part : nodes) {
        forDocuments(part, [&](DocumentIndex document, RowRange rows) {
            const NodeId end = firstEndOf(part, rows);
            NodeId &least = result[document];
            least = least == noNode ? end : std::min(least, end);
            return true;
        });
    }
    return result;
}

/** The least of the ends of a part's nodes in one document. */
NodeId DocumentJoin::firstEndOf(const PathPart &part, RowRange rows) const {
    NodeId end = lastBelow({part.path, rows.first});
    if (table_.summary()[part.path].isRegular) return end;
    for (RowId row = rows.first + 1; row < rows.end; ++row) {
        if (table_.nodeAt({part.path, row}) > end) break;
        if (part.rows->contains(row)) end = std::min(end, lastBelow({part.path, row}));
    }
    return end;
}

DocumentJoin::NodeOfDocument DocumentJoin::lastStarts(const PathNodes &nodes) const {
    NodeOfDocument result(nodes_.documents().size(), noNode);
    for (const PathPart &part : nodes) {
        const bool isEvery = isWhole(table_, part);
        forDocuments(part, [&](DocumentIndex document, RowRange rows) {
            const RowId last = isEvery ? rows.end - 1 : lastBefore(*part.rows, rows.end);
            result[document] = std::max(result[document], table_.nodeAt({part.path, last}));
            return true;
        });
    }
    return result;
}

NodeId DocumentJoin::lastBelow(PathRow row) const {
    const bool isElement = table_.summary()[row.path].kind == NodeKind::element;
    return isElement ? table_.lastBelow(row) : table_.nodeAt(row);
}

}  // namespace zdbs::embedded
