#include "zdbs/embedded/positions/position_walks.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <vector>

#include "zdbs/base/stop.h"
#include "zdbs/embedded/tree/documents.h"

namespace zdbs::embedded {
namespace {

using NodeSpan = std::span<const NodeId>;

constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

/** Whether one position of `length` satisfies a test. */
bool satisfies(PositionTest test, std::size_t position, std::size_t length) {
    double place = test.place;
    if (place < 0) place += static_cast<double>(length) + 1;
    return holds(test.relation, static_cast<double>(position), place);
}

/**
 * Positions among the members above each context; the innermost is the first. What a
 * context selects are ranges of the stack. A range is noted at its upper end only and
 * handed down as the stack shrinks, so that it costs the same however long it is.
 */
class AncestorWalk {
public:
    AncestorWalk(const SpannedNodes &members, bool withSelf, PositionTest test)
        : members_(members), withSelf_(withSelf), satisfying_(test) {}

    NodeIds select(NodeSpan contexts) {
        StopCounter stop;
        for (NodeId context : contexts) {
            stop.step();
            goTo(context);
            noteSelected();
        }
        while (!stack_.empty())
            pop();
        std::sort(selected_.begin(), selected_.end());
        return std::move(selected_);
    }

private:
    struct Entry {
        NodeId node;
        NodeId last;
        std::size_t selectedFrom;  ///< entries from this place up to this one are selected
    };

    /** Leaves on the stack the members that the context lies below. */
    void goTo(NodeId context) {
        for (; next_ < members_.nodes.size(); ++next_) {
            const NodeId member = members_.nodes[next_];
            if (withSelf_ ? member > context : member >= context) break;
            popBefore(member);
            stack_.push_back({member, members_.last[next_], none});
        }
        popBefore(context);
    }

    void popBefore(NodeId node) {
        while (!stack_.empty() && stack_.back().last < node)
            pop();
    }

    void pop() {
        const Entry top = stack_.back();
        stack_.pop_back();
        if (top.selectedFrom == none) return;
        selected_.push_back(top.node);
        const bool goesOn = top.selectedFrom < stack_.size();
        if (goesOn) noteRange(top.selectedFrom, stack_.size() - 1);
    }

    void noteSelected() {
        const std::size_t length = stack_.size();
        for (const Positions &positions : satisfying_.of(length)) {
            if (positions.first > positions.last) continue;
            noteRange(length - positions.last, length - positions.first);
        }
    }

    void noteRange(std::size_t first, std::size_t last) {
        stack_[last].selectedFrom = std::min(stack_[last].selectedFrom, first);
    }

    const SpannedNodes &members_;
    const bool withSelf_;
    const SatisfyingPositions satisfying_;
    std::vector<Entry> stack_;
    std::size_t next_ = 0;
    NodeIds selected_;
};

/**
 * Positions among the members that end before each context; the nearest is the first.
 *
 * As the context moves on, more members precede it: the position of a member never
 * falls, counted from either end. A test other than for equality therefore holds of a
 * member for some context exactly when it does for the first or for the last context of
 * the document that it precedes. For equality, each context has one node at most, which
 * the stack of the members above the context tells by binary search.
 */
class PrecedingWalk {
public:
    PrecedingWalk(const NodeTable &table, const SpannedNodes &members, PositionTest test)
        : table_(table),
          members_(members.nodes),
          last_(members.last),
          test_(test),
          satisfying_(test),
          isSelected_(members.nodes.size()) {}

    NodeIds select(NodeSpan contexts) {
        DocumentFinder finder(table_);
        NodeId end = noNode;
        StopCounter stop;
        for (NodeId context : contexts) {
            stop.step();
            if (context > end) {
                closeDocument();
                const DocumentRange &document = finder.documentOf(context);
                openDocument(document);
                end = document.last;
            }
            goTo(context);
        }
        closeDocument();
        return selected();
    }

private:
    struct Entry {
        std::size_t member;  ///< place in members_
        NodeId last;
    };

    bool isEquality() const { return test_.relation == Relation::equal; }

    void openDocument(const DocumentRange &document) {
        auto first = std::lower_bound(members_.begin(), members_.end(), document.first);
        next_ = static_cast<std::size_t>(first - members_.begin());
        begin_ = next_;
        stack_.clear();
    }

    void goTo(NodeId context) {
        ended_.clear();
        for (; next_ < members_.size() && members_[next_] < context; ++next_) {
            popBefore(members_[next_]);
            stack_.push_back({next_, last_[next_]});
        }
        popBefore(context);
        if (isEquality()) {
            selectEqual();
        } else {
            // This is the first context that they precede.
            for (std::size_t member : ended_)
                test(member);
        }
    }

    void popBefore(NodeId node) {
        while (!stack_.empty() && stack_.back().last < node) {
            if (!isEquality()) ended_.push_back(stack_.back().member);
            stack_.pop_back();
        }
    }

    /** The last context of the document has been seen. */
    void closeDocument() {
        if (isEquality()) return;
        std::size_t above = 0;
        for (std::size_t member = begin_; member < next_; ++member) {
            const bool isAbove = above < stack_.size() && stack_[above].member == member;
            if (isAbove) {
                ++above;
            } else if (satisfies(test_, positionOf(member, stack_.size() - above), length())) {
                isSelected_[member] = true;
            }
        }
    }

    /** Number of members that precede the context. */
    std::size_t length() const { return next_ - begin_ - stack_.size(); }

    /** @param above number of members behind this one that the context lies below */
    std::size_t positionOf(std::size_t member, std::size_t above) const {
        return next_ - member - above;
    }

    void test(std::size_t member) {
        auto behind = std::upper_bound(
            stack_.begin(), stack_.end(), member,
            [](std::size_t place, const Entry &entry) { return place < entry.member; });
        const auto above = static_cast<std::size_t>(stack_.end() - behind);
        if (satisfies(test_, positionOf(member, above), length())) isSelected_[member] = true;
    }

    void selectEqual() {
        const Positions positions = satisfying_.of(length()).front();
        if (positions.first > positions.last) return;
        const std::size_t position = positions.first;
        // The members above the context with at least `position` preceding ones behind them.
        auto behind = std::partition_point(stack_.begin(), stack_.end(), [&](const Entry &entry) {
            const auto above = static_cast<std::size_t>(stack_.data() + stack_.size() - &entry);
            return next_ - entry.member - above >= position;
        });
        const auto above = static_cast<std::size_t>(stack_.end() - behind);
        isSelected_[next_ - position - above] = true;
    }

    NodeIds selected() const {
        NodeIds result;
        for (std::size_t member = 0; member < members_.size(); ++member) {
            if (isSelected_[member]) result.push_back(members_[member]);
        }
        return result;
    }

    const NodeTable &table_;
    NodeSpan members_;
    NodeSpan last_;
    const PositionTest test_;
    const SatisfyingPositions satisfying_;
    std::vector<bool> isSelected_;
    std::vector<Entry> stack_;        ///< members above the context, the outermost first
    std::vector<std::size_t> ended_;  ///< members that ended since the context before
    std::size_t begin_ = 0;           ///< first member of the document
    std::size_t next_ = 0;            ///< first member that is not before the context
};

}  // namespace

bool isWalked(Axis axis) {
    return traitsOf(axis).isReverse() && !traitsOf(axis).isSibling();
}

SpannedNodes spannedNodes(const NodeTable &table, Axis axis, std::span<const NodeId> list) {
    const bool isPreceding = traitsOf(axis).region == Region::before;
    SpannedNodes result;
    for (const NodeId node : list) {
        if (isPreceding && table.kind(node) == NodeKind::attribute) continue;
        result.nodes.push_back(node);
        result.last.push_back(table.lastBelow(node));
    }
    return result;
}

NodeIds selectOnWalk(const NodeTable &table, Axis axis, std::span<const NodeId> contexts,
                     const SpannedNodes &members, PositionTest test) {
    if (traitsOf(axis).region == Region::before)
        return PrecedingWalk(table, members, test).select(contexts);
    return AncestorWalk(members, traitsOf(axis).withSelf, test).select(contexts);
}

}  // namespace zdbs::embedded
