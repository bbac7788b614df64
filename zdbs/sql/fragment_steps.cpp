#include "zdbs/sql/fragment_steps.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "zdbs/base/axis.h"
#include "zdbs/base/stop.h"

namespace zdbs::sql {
namespace {

using Kind = FragmentFilter::Kind;

RowList atPlace(const FragmentFilter &filter, const RowList &nodes, Axis axis) {
    const auto size = static_cast<double>(nodes.size());
    const double place = filter.place < 0 ? size + 1 + filter.place : filter.place;
    RowList result;
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        const double forwards = static_cast<double>(index) + 1;
        const double position = isReverse(axis) ? size + 1 - forwards : forwards;
        if (holds(filter.relation, position, place)) result.push_back(nodes[index]);
    }
    return result;
}

}  // namespace

RowList FragmentSteps::selected(const FragmentSpec &spec, RowId from) {
    std::set<RowId> result;
    for (const FragmentPath &path : spec) {
        std::set<RowId> contexts{from};
        for (const FragmentStep &each : path) {
            std::set<RowId> next;
            for (const RowId context : contexts) {
                heedStop();
                const RowList found = step(each, context);
                next.insert(found.begin(), found.end());
            }
            contexts = std::move(next);
        }
        result.insert(contexts.begin(), contexts.end());
    }
    return {result.begin(), result.end()};
}

RowList FragmentSteps::step(const FragmentStep &step, RowId from) {
    RowList found = onAxis(step.axis, excerpt_.at(from));
    std::erase_if(found, [&](RowId row) { return !passes(step.test, step.axis, row); });
    RowList kept = found;
    RowList last = found;
    for (const FragmentFilter &filter : step.filters) {
        apply(filter, step.axis, found, last);
        std::erase_if(
            kept, [&](RowId row) { return !std::binary_search(last.begin(), last.end(), row); });
        last = kept;
    }
    return kept;
}

RowList FragmentSteps::onAxis(Axis axis, const NodeRow &from) {
    const AxisTraits &traits = traitsOf(axis);
    RowList found;
    switch (traits.region) {
        case Region::none:
            break;
        case Region::below:
            found = below(traits, from);
            break;
        case Region::above:
            found = above(traits, from);
            break;
        case Region::siblingsAfter:
        case Region::siblingsBefore:
            return siblings(traits, from);
        case Region::after:
        case Region::before:
            return beside(traits, from);
    }
    if (traits.withSelf) found.push_back(from.row);
    std::sort(found.begin(), found.end());
    return found;
}

RowList FragmentSteps::below(const AxisTraits &axis, const NodeRow &from) {
    RowList found;
    excerpt_.require(from.below());
    const int parent = from.row.id;
    excerpt_.forEach(from.below(), [&](const NodeRow &row) {
        const bool isKind = excerpt_.pathOf(row).isAttribute() == axis.toAttributes;
        if (isKind && (!axis.isDirect || row.parent == parent)) found.push_back(row.row);
    });
    return found;
}

RowList FragmentSteps::above(const AxisTraits &axis, const NodeRow &from) {
    RowList found;
    for (const NodeRow *up = &excerpt_.parentOf(from); !excerpt_.pathOf(*up).isRoot();
         up = &excerpt_.parentOf(*up)) {
        found.push_back(up->row);
        if (axis.isDirect) break;
    }
    return found;
}

RowList FragmentSteps::siblings(const AxisTraits &axis, const NodeRow &from) {
    if (excerpt_.pathOf(from).isAttribute()) return {};
    static constexpr AxisTraits children = traitsOf(Axis::child);
    const RowId self = from.row;
    RowList found = below(children, excerpt_.parentOf(from));
    std::erase_if(found, [&](RowId each) {
        return axis.region == Region::siblingsAfter ? each <= self : each >= self;
    });
    return found;
}

RowList FragmentSteps::beside(const AxisTraits &axis, const NodeRow &from) {
    const bool goesOn = axis.region == Region::after;
    const Document &document = excerpt_.state().documentOf(from.row);
    const int self = from.row.id;
    const RowRange range = goesOn ? RowRange{document.part, from.last + 1, document.last}
                                  : RowRange{document.part, document.root + 1, self - 1};
    RowList found;
    excerpt_.require(range);
    excerpt_.forEach(range, [&](const NodeRow &row) {
        const bool isBeside = goesOn || row.last < self;
        if (isBeside && !excerpt_.pathOf(row).isAttribute()) found.push_back(row.row);
    });
    return found;
}

bool FragmentSteps::passes(const NodeTest &test, Axis axis, RowId row) {
    const Path &path = excerpt_.pathOf(excerpt_.at(row));
    switch (test.kind) {
        case NodeTest::Kind::node:
            return true;
        case NodeTest::Kind::text:
            return path.is(NodeKind::text);
        case NodeTest::Kind::comment:
            return path.is(NodeKind::comment);
        case NodeTest::Kind::instruction:
            return path.is(NodeKind::processingInstruction);
        case NodeTest::Kind::name:
            break;
    }
    const auto principal = axis == Axis::attribute ? NodeKind::attribute : NodeKind::element;
    const bool isInSpace =
        test.space.empty() || test.space == path.key.prefix || test.space == path.key.uri;
    return path.is(principal) && isInSpace && (test.local.empty() || test.local == path.key.local);
}

RowList FragmentSteps::members(const ResultSetPtr &set, const RowList &of) const {
    RowList result;
    const RowList &rows = membersOf_(set);
    std::set_intersection(of.begin(), of.end(), rows.begin(), rows.end(),
                          std::back_inserter(result));
    return result;
}

/** @param found what the step found; `last` the nodes found last, which become the answer */
void FragmentSteps::apply(const FragmentFilter &filter, Axis axis, const RowList &found,
                          RowList &last) {
    switch (filter.kind) {
        case Kind::among:
            last = members(filter.among, filter.ofLast ? last : found);
            return;
        case Kind::position:
            last = atPlace(filter, last, axis);
            return;
        case Kind::unchanged:
            return;
        case Kind::both:
        case Kind::either:
            break;
    }
    apply(filter.sides[0], axis, found, last);
    const RowList left = last;
    apply(filter.sides[1], axis, found, last);
    RowList joined;
    const auto out = std::back_inserter(joined);
    if (filter.kind == Kind::both)
        std::set_intersection(left.begin(), left.end(), last.begin(), last.end(), out);
    else
        std::set_union(left.begin(), left.end(), last.begin(), last.end(), out);
    last = joined;
}

}  // namespace zdbs::sql
