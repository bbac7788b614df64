#include "zdbs/sql/fragment_steps.h"

#include <algorithm>
#include <set>

#include "zdbs/base/stop.h"
#include "zdbs/sql/axes.h"

namespace zdbs::sql {
namespace {

/** The summary says which nodes can be found: by their paths on the axis, and by their names. */
bool canBeFound(const Summary &summary, const FragmentStep &step, PathNumber from, PathNumber to) {
    const auto kind = step.test.kindOn(traitsOf(step.axis));
    return (!kind || summary[to].is(*kind)) && !summary[to].isRoot() &&
           (!step.test.asksForName() || step.test.allows(summary[to].name())) &&
           canRelate(summary, {step.axis, false}, from, to);
}

}  // namespace

RowList FragmentSteps::selected(const FragmentSpec &spec, RowId from) {
    std::set<RowId> all;
    for (const FragmentPath &path : spec) {
        RowList rows = {from};
        for (const FragmentStep &step : path)
            rows = stepped(step, rows);
        all.insert(rows.begin(), rows.end());
    }
    return {all.begin(), all.end()};
}

RowList FragmentSteps::stepped(const FragmentStep &step, const RowList &contexts) {
    std::set<RowId> all;
    for (const RowId context : contexts) {
        heedStop();
        const RowList rows = onAxis(step, excerpt_.at(context));
        const Marks passing = filtered(step, rows);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (passing[i]) all.insert(rows[i]);
        }
    }
    return {all.begin(), all.end()};
}

/** Of the nodes that can be found, their places tell which are. */
RowList FragmentSteps::onAxis(const FragmentStep &step, const NodeRow &from) {
    const AxisTraits &axis = traitsOf(step.axis);
    RowList rows;
    const auto offer = [&](const NodeRow &row) {
        if (canBeFound(excerpt_.state().summary, step, from.path, row.path))
            rows.push_back(row.row);
    };
    if (axis.withSelf) offer(from);
    if (axis.region == Region::above) {
        for (const NodeRow *up = &from; !excerpt_.pathOf(*up).isRoot(); offer(*up))
            up = &excerpt_.parentOf(*up);
    } else if (axis.region != Region::none) {
        const RowRange range = beyond(axis, from);
        excerpt_.require(range);
        excerpt_.forEach(range, [&](const NodeRow &row) {
            const bool isBeside = axis.isSibling()
                                      ? row.parent == from.parent
                                      : axis.region != Region::before || row.last < from.row.id;
            if (isBeside) offer(row);
        });
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

/** Where all nodes on an axis are that does not lead up. */
RowRange FragmentSteps::beyond(const AxisTraits &axis, const NodeRow &from) {
    if (axis.region == Region::below) return from.below();
    const bool isAlone = axis.isSibling() && excerpt_.pathOf(from).isAttribute();
    if (isAlone) return {from.row.part, 0, -1};
    const Document &document = excerpt_.state().documentOf(from.row);
    RowRange around{document.part, document.root, document.last};
    if (axis.isSibling()) around = excerpt_.parentOf(from).range();
    if (axis.isReverse()) return {around.part, around.first + 1, from.row.id - 1};
    return {around.part, from.last + 1, around.last};
}

/** What each filter lets pass of all that was found, and of what those before it did. */
FragmentSteps::Marks FragmentSteps::filtered(const FragmentStep &step, const RowList &rows) {
    Marks kept(rows.size(), true);
    Marks last = kept;
    for (const FragmentFilter &filter : step.filters) {
        apply(filter, step.axis, rows, last);
        for (std::size_t i = 0; i < rows.size(); ++i)
            last[i] = kept[i] = kept[i] && last[i];
    }
    return kept;
}

/** @param last those that were found last, which become the answer */
void FragmentSteps::apply(const FragmentFilter &filter, Axis axis, const RowList &rows,
                          Marks &last) {
    using Kind = FragmentFilter::Kind;
    if (filter.kind == Kind::among) {
        const RowList &members = membersOf_(filter.among);
        for (std::size_t i = 0; i < rows.size(); ++i)
            last[i] = (last[i] || !filter.ofLast) &&
                      std::binary_search(members.begin(), members.end(), rows[i]);
    } else if (filter.kind == Kind::position) {
        const auto count = static_cast<std::size_t>(std::count(last.begin(), last.end(), true));
        std::size_t position = 0;
        for (std::size_t i = 0; i < rows.size(); ++i)
            last[i] = last[i] && filter.holdsAt(++position, count, traitsOf(axis));
    } else if (filter.kind != Kind::unchanged) {
        apply(filter.sides[0], axis, rows, last);
        const Marks left = last;
        apply(filter.sides[1], axis, rows, last);
        for (std::size_t i = 0; i < rows.size(); ++i)
            last[i] = filter.kind == Kind::both ? left[i] && last[i] : left[i] || last[i];
    }
}

}  // namespace zdbs::sql
