#include <algorithm>
#include <utility>

#include "zdbs/base/stop.h"
#include "zdbs/xpath/collection.h"
#include "zdbs/xpath/families.h"
#include "zdbs/xpath/ranks.h"

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

}  // namespace

StepPairs::StepPairs(const Collection &collection, std::span<const Node> contexts, Axis axis,
                     NodeSet found, Reach reach)
    : collection_(collection),
      contexts_(contexts),
      axis_(traitsOf(axis)),
      reach_(reach),
      foundSet_(std::move(found)),
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
    // Unless contexts are in each other, their children follow as they do.
    if (std::is_sorted(parents.begin(), parents.end())) return inOrderOf(parents);
    const Ranks ranks(contexts_);
    Distribution pairs(contexts_.size());
    for (std::size_t i = 0; i < found_.size(); ++i)
        pairs.add(ranks.of(parents[i]), found_[i]);
    return pairs.take();
}

/** @param parents of found_, ascending */
Groups StepPairs::inOrderOf(const Nodes &parents) const {
    std::vector<std::size_t> ends;
    ends.reserve(contexts_.size());
    std::size_t next = 0;
    for (const Node context : contexts_) {
        while (next < parents.size() && parents[next] == context)
            ++next;
        ends.push_back(next);
    }
    return {found_, std::move(ends)};
}

/** What is below a context are the nodes up to its end; an attribute is below none. */
std::optional<Groups> StepPairs::below(std::size_t most) const {
    const Nodes ends = collection_.ends(contexts_);
    const Nodes attributes =
        axis_.withSelf ? collection_.nodesOf(collection_.attributesAmong(foundSet_)) : Nodes();
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
    const Ranks ranks(found_);
    Groups result;
    result.reserve(contexts_.size(), contexts_.size());
    for (std::size_t i = 0; i < contexts_.size(); ++i) {
        const Node node = goesUp ? parents[i] : contexts_[i];
        const bool isThere = !goesUp || !isRoot(contexts_[i]);
        if (isThere && ranks.has(node)) result.add(node);
        result.close();
    }
    return result;
}

/** What is above a context are the nodes before it that have not ended. */
Groups StepPairs::above() const {
    const Nodes ends = collection_.ends(found_, foundSet_);
    Nodes open;
    std::vector<Node> endsOfOpen;
    const auto close = [&](Node upTo) {
        for (; !open.empty() && endsOfOpen.back() < upTo; open.pop_back())
            endsOfOpen.pop_back();
    };
    std::size_t next = 0;
    Groups result;
    for (const Node context : contexts_) {
        heedStop();
        for (; next < found_.size() && found_[next] < context; ++next) {
            close(found_[next]);
            open.push_back(found_[next]);
            endsOfOpen.push_back(ends[next]);
        }
        close(context);
        const bool hasSelf = axis_.withSelf && next < found_.size() && found_[next] == context;
        if (hasSelf) open.push_back(context);
        result.add(asked(open));
        if (hasSelf) open.pop_back();
        result.close();
    }
    return result;
}

/** Of the nodes of one context those that are asked for. */
std::span<const Node> StepPairs::asked(std::span<const Node> inOrder) const {
    if (reach_.most == 0 || inOrder.size() <= reach_.most) return inOrder;
    const bool areFirst = isReverse(axis_.axis) == reach_.isFromTheFar;
    return areFirst ? inOrder.first(reach_.most) : inOrder.last(reach_.most);
}

std::optional<Groups> StepPairs::besides(std::size_t most) const {
    const Families families(collection_, contexts_, axis_, foundSet_);
    Groups result;
    for (std::size_t i = 0; i < contexts_.size(); ++i) {
        heedStop();
        result.add(asked(families.of(i)));
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
    for (std::size_t i = 0; i < contexts_.size(); ++i) {
        heedStop();
        if (!isRoot(contexts_[i]))
            after ? addBehind(ends[i], result) : addBefore(contexts_[i], ends, result);
        result.closeSorted();
        if (result.nodes().size() > most && contexts_.size() > 1) return std::nullopt;
    }
    return result;
}

/** The nodes behind an end, up to that of the document. */
void StepPairs::addBehind(Node end, Groups &result) const {
    const std::size_t first = placeBehind(found_, end);
    const std::size_t behind = placeBehind(found_, collection_.lastOf(collection_.documentOf(end)));
    if (first < behind) result.add(asked(std::span(found_).subspan(first, behind - first)));
}

/** The nodes that end before another one. @param ends of found_ */
void StepPairs::addBefore(Node node, const Nodes &ends, Groups &result) const {
    const std::size_t first = placeIn(found_, collection_.rootOf(node));
    const std::size_t behind = placeIn(found_, node);
    std::size_t left = reach_.most > 0 ? reach_.most : found_.size();
    for (std::size_t i = 0; i < behind - first && left > 0; ++i) {
        const std::size_t place = reach_.isFromTheFar ? first + i : behind - 1 - i;
        if (ends[place] >= node) continue;
        result.add(found_[place]);
        --left;
    }
}

}  // namespace zdbs::xpath
