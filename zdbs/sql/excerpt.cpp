#include "zdbs/sql/excerpt.h"

#include <algorithm>

#include "zdbs/base/status.h"

namespace zdbs::sql {
namespace {

constexpr int chunk = 20000;       ///< rows that are told by one statement
constexpr int mostHeld = 2000000;  ///< rows of a range at once
constexpr int mostPrefetched = 50000;

constexpr const char *columns = "n.part, n.id, n.last, n.parent, n.ord, n.path, n.value";
constexpr const char *types =
    "part int, id int, last int, parent int, ord int, path int, value text";
constexpr int levelsBegin = 7;

int small(const Rows &rows, int row, int column) {
    return static_cast<int>(rows.number(row, column));
}

NodeRow rowIn(const Rows &rows, int row) {
    return {{small(rows, row, 0), small(rows, row, 1)},
            small(rows, row, 2),
            small(rows, row, 3),
            small(rows, row, 4),
            small(rows, row, 5),
            std::string(rows.text(row, 6))};
}

std::string within(const RowRanges &ranges) {
    std::string text;
    for (const RowRange &each : ranges)
        text += (text.empty() ? "" : " or ") + std::string("(n.part = ") +
                std::to_string(each.part) + " and n.id between " + std::to_string(each.first) +
                " and " + std::to_string(each.last) + ")";
    return text;
}

int deepest(const Summary &summary) {
    int level = 0;
    for (PathNumber path = 0; path < summary.size(); ++path)
        level = std::max(level, summary[path].level);
    return level;
}

}  // namespace

bool Excerpt::holds(const RowRange &range) const {
    return std::any_of(held_.begin(), held_.end(), [&](const RowRange &each) {
        return each.part == range.part && each.first <= range.first && range.last <= each.last;
    });
}

/** The numbers of what is above come with the rows. */
void Excerpt::fetchRows(const std::vector<RowId> &rows, std::vector<RowId> &above) {
    if (rows.empty()) return;
    std::map<int, std::string> parts;
    for (const RowId &each : rows) {
        std::string &list = parts[each.part];
        list += (list.empty() ? "" : ", ") + std::to_string(each.id);
    }
    std::string where;
    for (const auto &[part, list] : parts)
        where += (where.empty() ? "" : " or ") + std::string("(n.part = ") + std::to_string(part) +
                 " and n.id in (" + list + "))";
    std::string levels;
    std::string typesOfLevels;
    for (int level = 1; level < deepest(state_->summary) - 1; ++level) {
        levels += ", n.a" + std::to_string(level);
        typesOfLevels += ", a" + std::to_string(level) + " int";
    }
    const Rows found =
        connection_.ask({"select " + std::string(columns) + levels + " from node n where " + where},
                        types + typesOfLevels);
    add(found, above);
}

void Excerpt::add(const Rows &rows, std::vector<RowId> &above) {
    for (int row = 0; row < rows.size(); ++row) {
        NodeRow node = rowIn(rows, row);
        const int levels = pathOf(node).level - 2;
        if (!pathOf(node).isRoot()) above.push_back({node.row.part, node.parent});
        for (int level = 0; level < levels; ++level)
            above.push_back({node.row.part, small(rows, row, levelsBegin + level)});
        rows_.insert_or_assign(node.row, std::move(node));
    }
}

void Excerpt::fetchRanges(const RowRanges &ranges) {
    if (ranges.empty()) return;
    const Rows rows = connection_.ask(
        {"select " + std::string(columns) + " from node n where " + within(ranges)}, types);
    for (int row = 0; row < rows.size(); ++row) {
        NodeRow node = rowIn(rows, row);
        rows_.insert_or_assign(node.row, std::move(node));
    }
    held_.insert(held_.end(), ranges.begin(), ranges.end());
}

void Excerpt::fetch(std::span<const RowId> rows) {
    rows_.clear();
    held_.clear();
    std::vector<RowId> above;
    fetchRows({rows.begin(), rows.end()}, above);
    RowRanges ranges;
    int total = 0;
    for (const auto &[id, row] : rows_) {
        const bool isInside =
            !ranges.empty() && ranges.back().part == id.part && row.last <= ranges.back().last;
        if (isInside || row.last - id.id > mostPrefetched - total) continue;
        ranges.push_back(row.range());
        total += row.last - id.id + 1;
    }
    std::sort(above.begin(), above.end());
    above.erase(std::unique(above.begin(), above.end()), above.end());
    std::erase_if(above, [this](RowId each) { return rows_.contains(each); });
    std::vector<RowId> none;
    fetchRows(above, none);
    fetchRanges(ranges);
}

const NodeRow &Excerpt::at(RowId row) {
    const auto found = rows_.find(row);
    if (found != rows_.end()) return found->second;
    std::vector<RowId> above;
    fetchRows({row}, above);
    std::erase_if(above, [this](RowId each) { return rows_.contains(each); });
    std::vector<RowId> none;
    fetchRows(above, none);
    const auto added = rows_.find(row);
    if (added == rows_.end())
        throw Failure(Status::homeDamaged, {connection_.location().name,
                                            "row " + std::to_string(row.id) + " is missing"});
    return added->second;
}

void Excerpt::require(const RowRange &range) {
    if (range.first > range.last || holds(range)) return;
    if (range.last - range.first >= mostHeld)
        throw Failure(Status::unsupported, {"fragments that depend on more than " +
                                            std::to_string(mostHeld) + " nodes around them"});
    fetchRanges({range});
}

void Excerpt::forEach(const RowRange &range, const Visitor &visitor) const {
    const auto end = rows_.upper_bound({range.part, range.last});
    for (auto each = rows_.lower_bound({range.part, range.first}); each != end; ++each)
        visitor(each->second);
}

void Excerpt::tell(const RowRange &range, const Visitor &visitor) const {
    if (holds(range)) return forEach(range, visitor);
    for (int first = range.first; first <= range.last;) {
        const int last = range.last - first < chunk ? range.last : first + chunk - 1;
        const Rows rows =
            connection_.ask({"select " + std::string(columns) + " from node n where " +
                             within({{range.part, first, last}}) + " order by n.id"},
                            types);
        if (rows.size() != last - first + 1)
            throw Failure(Status::homeDamaged, {connection_.location().name, "rows are missing"});
        for (int row = 0; row < rows.size(); ++row)
            visitor(rowIn(rows, row));
        if (last == range.last) return;
        first = last + 1;
    }
}

}  // namespace zdbs::sql
