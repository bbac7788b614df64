#include "tests/engine_conformance/naive/fragments.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "zdbs/base/stop.h"

namespace zdbs::naive {
namespace {

using Kind = FragmentFilter::Kind;

bool passes(const NodeTest &test, Axis axis, const Node &node) {
    switch (test.kind) {
        case NodeTest::Kind::node:
            return true;
        case NodeTest::Kind::text:
            return node.is(NodeKind::text);
        case NodeTest::Kind::comment:
            return node.is(NodeKind::comment);
        case NodeTest::Kind::instruction:
            return node.is(NodeKind::processingInstruction);
        case NodeTest::Kind::name:
            break;
    }
    const auto principal = axis == Axis::attribute ? NodeKind::attribute : NodeKind::element;
    const bool isInSpace =
        test.space.empty() || test.space == node.prefix || test.space == node.uri;
    return node.is(principal) && isInSpace && (test.local.empty() || test.local == node.local);
}

Places members(const ResultSet &set, const Places &of) {
    Places result;
    std::copy_if(of.begin(), of.end(), std::back_inserter(result),
                 [&](Place node) { return static_cast<const Set &>(set).contains(node); });
    return result;
}

Places atPlace(const FragmentFilter &filter, const Places &nodes, Axis axis) {
    const auto size = static_cast<double>(nodes.size());
    const double place = filter.place < 0 ? size + 1 + filter.place : filter.place;
    Places result;
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        const double forwards = static_cast<double>(index) + 1;
        const double position = isReverse(axis) ? size + 1 - forwards : forwards;
        if (holds(filter.relation, position, place)) result.push_back(nodes[index]);
    }
    return result;
}

/** @param found what the step found; `last` the nodes found last, which become the answer */
void apply(const FragmentFilter &filter, Axis axis, const Places &found, Places &last) {
    switch (filter.kind) {
        case Kind::among:
            last = members(*filter.among, filter.ofLast ? last : found);
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
    const Places left = last;
    apply(filter.sides[1], axis, found, last);
    Places both;
    const auto out = std::back_inserter(both);
    if (filter.kind == Kind::both)
        std::set_intersection(left.begin(), left.end(), last.begin(), last.end(), out);
    else
        std::set_union(left.begin(), left.end(), last.begin(), last.end(), out);
    last = both;
}

Places step(const Forest &forest, const FragmentStep &step, Place from) {
    Places found;
    for (Place y = 0; y < forest.size(); ++y) {
        if (!forest.isRoot(y) && forest.isOnAxis(from, step.axis, y) &&
            passes(step.test, step.axis, forest[y]))
            found.push_back(y);
    }
    Places kept = found;
    Places last = found;
    for (const FragmentFilter &filter : step.filters) {
        apply(filter, step.axis, found, last);
        std::erase_if(
            kept, [&](Place node) { return !std::binary_search(last.begin(), last.end(), node); });
        last = kept;
    }
    return kept;
}

std::string nameInPath(const Node &node) {
    if (node.is(NodeKind::text)) return "text()";
    if (node.is(NodeKind::comment)) return "comment()";
    if (node.is(NodeKind::processingInstruction)) return "processing-instruction()";
    return node.prefix.empty() ? node.local : node.prefix + ":" + node.local;
}

/** Tells trees. */
class Teller {
public:
    Teller(const Forest &forest, const Leaves &marked, NameNumbers &numbers, NodeEvents &events)
        : forest_(forest), marked_(marked), numbers_(numbers), events_(events) {}

    void tell(Place top, const std::vector<Declaration> &declarations) {
        Places open;
        for (Place place = top; place <= forest_.last(top); ++place) {
            for (; !open.empty() && forest_.last(open.back()) < place; open.pop_back())
                events_.endElement();
            const Node &node = forest_[place];
            tellNode(place, place == top ? declarations : node.declarations);
            if (node.is(NodeKind::element)) open.push_back(place);
        }
        for (; !open.empty(); open.pop_back())
            events_.endElement();
    }

private:
    void tellNode(Place place, const std::vector<Declaration> &declarations) {
        const Node &node = forest_[place];
        const std::vector<HitRange> hits = hitsIn(forest_, marked_, place);
        switch (*node.kind) {
            case NodeKind::element:
                events_.startElement(numbers_.of(node));
                for (const Declaration &one : declarations)
                    events_.namespaceDeclaration(one.prefix, one.uri);
                return;
            case NodeKind::attribute:
                return events_.attribute(numbers_.of(node), node.value, hits);
            case NodeKind::text:
                return events_.text(node.value, hits);
            case NodeKind::comment:
                return events_.comment(node.value);
            case NodeKind::processingInstruction:
                return events_.processingInstruction(node.local, node.value);
        }
    }

    const Forest &forest_;
    const Leaves &marked_;
    NameNumbers &numbers_;
    NodeEvents &events_;
};

/** The nearest first; nothing is undeclared where a fragment goes. */
std::vector<Declaration> inScope(const Forest &forest, Place element) {
    std::vector<Declaration> result;
    std::set<std::string> seen;
    for (Place up = element; !forest.isRoot(up); up = forest.parent(up)) {
        for (const Declaration &one : forest[up].declarations) {
            if (seen.insert(one.prefix).second) result.push_back(one);
        }
    }
    std::erase_if(result, [](const Declaration &one) { return one.uri.empty(); });
    return result;
}

}  // namespace

Places selected(const Forest &forest, const FragmentSpec &spec, Place from) {
    std::set<Place> result;
    for (const FragmentPath &path : spec) {
        std::set<Place> contexts{from};
        for (const FragmentStep &each : path) {
            std::set<Place> next;
            for (const Place context : contexts) {
                heedStop();
                const Places found = step(forest, each, context);
                next.insert(found.begin(), found.end());
            }
            contexts = std::move(next);
        }
        result.insert(contexts.begin(), contexts.end());
    }
    return {result.begin(), result.end()};
}

std::string pathOf(const Forest &forest, Place node) {
    if (forest.isRoot(node)) return {};
    const std::string name = nameInPath(forest[node]);
    const std::string above = pathOf(forest, forest.parent(node));
    if (forest.isAttribute(node)) return above + "/@" + name;
    std::size_t position = 1;
    for (Place other = forest.parent(node); other < node; ++other) {
        if (forest.isOnAxis(node, Axis::precedingSibling, other) &&
            nameInPath(forest[other]) == name)
            ++position;
    }
    return above + "/" + name + "[" + std::to_string(position) + "]";
}

std::string stringValueOf(const Forest &forest, Place node) {
    if (!forest[node].is(NodeKind::element)) return forest[node].value;
    std::string value;
    for (Place below = node + 1; below <= forest.last(node); ++below) {
        if (forest[below].is(NodeKind::text)) value += forest[below].value;
    }
    return value;
}

NumberedName NameNumbers::of(const Node &node) {
    const auto next = static_cast<std::uint32_t>(numbers_.size());
    const auto key = std::make_tuple(node.local, node.prefix, node.uri);
    return {numbers_.emplace(key, next).first->second, node.name()};
}

void tellFragment(const Forest &forest, const Leaves &marked, NameNumbers &numbers, Place node,
                  NodeEvents &events) {
    Teller(forest, marked, numbers, events).tell(node, inScope(forest, node));
}

void tellDocument(const Forest &forest, std::size_t document, NodeEvents &events) {
    Place top = 0;
    while (forest.documentOf(top) != document)
        ++top;
    const Place last = forest.last(top);
    NameNumbers numbers;
    const Leaves unmarkedLeaves;
    Teller teller(forest, unmarkedLeaves, numbers, events);
    for (++top; top <= last; top = forest.last(top) + 1)
        teller.tell(top, forest[top].declarations);
}

}  // namespace zdbs::naive
