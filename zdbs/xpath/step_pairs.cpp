#include <algorithm>
#include <utility>

#include "zdbs/base/stop.h"
#include "zdbs/xpath/collection.h"

namespace zdbs::xpath {
namespace {

bool has(std::span<const Node> ascending, Node node) {
    return std::binary_search(ascending.begin(), ascending.end(), node);
}

/** The place of the first node behind another among ascending ones. */
std::size_t placeBehind(std::span<const Node> ascending, Node node) {
    return static_cast<std::size_t>(std::upper_bound(ascending.begin(), ascending.end(), node) -
                                    ascending.begin());
}

/** Groups by number, filled in any order; within a group the order is kept. */
class Distribution {
public:
    explicit Distribution(std::size_t groups) : groups_(groups) {}

    void add(std::size_t group, Node node) { pairs_.push_back({group, node}); }

    Groups take() {
        std::vector<std::size_t> places(groups_ + 1);
        for (const auto &[group, node] : pairs_)
            ++places[group + 1];
        for (std::size_t group = 0; group < groups_; ++group)
            places[group + 1] += places[group];
        const std::vector<std::size_t> begins = places;
        Nodes sorted(pairs_.size());
        for (const auto &[group, node] : pairs_)
            sorted[places[group]++] = node;
        Groups result;
        result.reserve(groups_, sorted.size());
        for (std::size_t group = 0; group < groups_; ++group) {
            result.add(std::span<const Node>(sorted).subspan(begins[group],
                                                             begins[group + 1] - begins[group]));
            result.close();
        }
        return result;
    }

private:
    std::size_t groups_;
    std::vector<std::pair<std::size_t, Node>> pairs_;
};

/** The attributes among nodes. */
Nodes attributesAmong(const Collection &collection, std::span<const Node> nodes) {
    const NodeTest any{.kind = NodeTest::Kind::name, .isAnyLocal = true, .isAnySpace = true};
    const NodeSet attributes = collection.passing(Axis::attribute, any);
    return collection.nodesOf(collection.common(collection.setOf(nodes), attributes));
}

}  // namespace

StepPairs::StepPairs(const Collection &collection, std::span<const Node> contexts, Axis axis,
                     const NodeTest &test, std::size_t nearest)
    : collection_(collection),
      contexts_(contexts),
      axis_(traitsOf(axis)),
      nearest_(nearest),
      foundSet_(collection.reached(collection.setOf(contexts), axis, test)),
      found_(collection.nodesOf(foundSet_)) {}

std::optional<Groups> StepPairs::within(std::size_t most) const {
    switch (axis_.region) {
        case Region::none:
            return single();
        case Region::above:
            return axis_.isDirect ? single() : above();
        case Region::below:
            return axis_.isDirect ? byParent() : below(most);
        case Region::siblingsAfter:
        case Region::siblingsBefore:
            return besides(most);
        case Region::after:
        case Region::before:
            break;
    }
    return outside(most);
}

Groups StepPairs::byParent() const {
    const Nodes parents = collection_.parents(found_, foundSet_);
    Distribution pairs(contexts_.size());
    for (std::size_t i = 0; i < found_.size(); ++i)
        pairs.add(placeIn(contexts_, parents[i]), found_[i]);
    return pairs.take();
}

/** What is below a context are the nodes up to its end; an attribute is below none. */
std::optional<Groups> StepPairs::below(std::size_t most) const {
    const Nodes ends = collection_.ends(contexts_);
    const Nodes attributes = axis_.withSelf ? attributesAmong(collection_, found_) : Nodes();
    Distribution pairs(contexts_.size());
    std::vector<std::size_t> open;
    std::size_t next = 0;
    std::size_t count = 0;
    StopCounter stop;
    for (const Node node : found_) {
        stop.step();
        for (; next < contexts_.size() && contexts_[next] <= node; ++next) {
            while (!open.empty() && ends[open.back()] < contexts_[next])
                open.pop_back();
            open.push_back(next);
        }
        while (!open.empty() && ends[open.back()] < node)
            open.pop_back();
        const bool isAttribute = has(attributes, node);
        for (const std::size_t context : open) {
            const bool isSelf = contexts_[context] == node;
            if (isSelf ? axis_.withSelf : !isAttribute) pairs.add(context, node);
        }
        count += open.size();
        if (count > most && contexts_.size() > 1) return std::nullopt;
    }
    return pairs.take();
}

/** On the axes self and parent, where there is one node at most. */
Groups StepPairs::single() const {
    const bool goesUp = axis_.region == Region::above;
    const Nodes parents = goesUp ? collection_.parents(contexts_) : Nodes();
    Groups result;
    for (std::size_t i = 0; i < contexts_.size(); ++i) {
        const Node node = goesUp ? parents[i] : contexts_[i];
        const bool isThere = !goesUp || !isRoot(contexts_[i]);
        if (isThere && has(found_, node)) result.add(node);
        result.close();
    }
    return result;
}

/** What is above a context are the nodes before it that have not ended. */
Groups StepPairs::above() const {
    const Nodes ends = collection_.ends(found_, foundSet_);
    std::vector<std::size_t> open;
    std::size_t next = 0;
    Groups result;
    for (const Node context : contexts_) {
        for (; next < found_.size() && found_[next] < context; ++next) {
            while (!open.empty() && ends[open.back()] < found_[next])
                open.pop_back();
            open.push_back(next);
        }
        while (!open.empty() && ends[open.back()] < context)
            open.pop_back();
        const bool hasSelf = axis_.withSelf && next < found_.size() && found_[next] == context;
        const std::size_t wanted = nearest_ > 0 ? nearest_ - (hasSelf ? 1 : 0) : open.size();
        for (std::size_t i = open.size() - std::min(wanted, open.size()); i < open.size(); ++i)
            result.add(found_[open[i]]);
        if (hasSelf) result.add(context);
        result.close();
    }
    return result;
}

std::optional<Groups> StepPairs::besides(std::size_t most) const {
    const Nodes attributes = attributesAmong(collection_, contexts_);
    const Nodes parents = collection_.parents(contexts_);
    const Nodes above = collection_.parents(found_, foundSet_);
    std::vector<std::pair<Node, Node>> families;
    for (std::size_t i = 0; i < found_.size(); ++i)
        families.emplace_back(above[i], found_[i]);
    std::sort(families.begin(), families.end());
    const bool after = axis_.region == Region::siblingsAfter;
    Groups result;
    for (std::size_t i = 0; i < contexts_.size(); ++i) {
        const Node context = contexts_[i];
        const std::pair first(parents[i], after ? context : Node{});
        const std::pair last(parents[i], after ? Node{~std::uint64_t{0}} : context);
        auto begin = std::upper_bound(families.begin(), families.end(), first);
        auto end = std::lower_bound(begin, families.end(), last);
        if (isRoot(context) || has(attributes, context)) end = begin;
        const auto nearest = static_cast<std::ptrdiff_t>(nearest_);
        if (nearest > 0 && end - begin > nearest) {
            if (after)
                end = begin + nearest;
            else
                begin = end - nearest;
        }
        for (; begin != end; ++begin)
            result.add(begin->second);
        result.close();
        if (result.nodes().size() > most && contexts_.size() > 1) return std::nullopt;
    }
    return result;
}

/** Nodes of the same document behind the end of a context, or that end before it. */
std::optional<Groups> StepPairs::outside(std::size_t most) const {
    const bool after = axis_.region == Region::after;
    const Nodes ends = after ? collection_.ends(contexts_) : collection_.ends(found_, foundSet_);
    Groups result;
    StopCounter stop;
    for (std::size_t i = 0; i < contexts_.size(); ++i) {
        stop.step();
        if (!isRoot(contexts_[i]))
            after ? addBehind(ends[i], result) : addBefore(contexts_[i], ends, result);
        result.closeSorted();
        if (result.nodes().size() > most && contexts_.size() > 1) return std::nullopt;
    }
    return result;
}

/** The nodes behind an end, up to that of the document. */
void StepPairs::addBehind(Node end, Groups &result) const {
    const Node last = nodeOf(documentOf(end).last);
    std::size_t left = nearest_ > 0 ? nearest_ : found_.size();
    for (std::size_t place = placeBehind(found_, end); place < found_.size() && left > 0; ++place) {
        if (found_[place] > last) return;
        result.add(found_[place]);
        --left;
    }
}

/** The nodes that end before another one, backwards. @param ends of found_ */
void StepPairs::addBefore(Node node, const Nodes &ends, Groups &result) const {
    const Node root = rootBefore(documentOf(node).first);
    std::size_t left = nearest_ > 0 ? nearest_ : found_.size();
    for (std::size_t place = placeIn(found_, node); place-- > 0 && left > 0;) {
        if (found_[place] < root) return;
        if (ends[place] >= node) continue;
        result.add(found_[place]);
        --left;
    }
}

const DocumentSpan &StepPairs::documentOf(Node node) const {
    return collection_.tree().documents()[collection_.documentOf(node)];
}

}  // namespace zdbs::xpath
