#include "zdbs/embedded/occurring_names.h"

#include <algorithm>
#include <string>

#include "zdbs/embedded/paths/path_table.h"

namespace zdbs::embedded {
namespace {

/** Walks down the summary, a step at a time, and counts the names at the end. */
class NameWalk {
public:
    explicit NameWalk(std::span<const SummaryOfPart> parts)
        : summary_(parts.front().table.summary()), parts_(parts), here_(summary_.size()) {}

    void step(const NameStep &step) {
        const bool isAny = step.local == "*";
        std::vector<bool> next(summary_.size());
        for (const auto &[table, index] : parts_) {
            const auto paths = isAny ? index.ofKind(NodeKind::element)
                                     : index.named(NodeKind::element, step.local);
            for (const PathId path : paths)
                next[path] = isAt(path, step.isDeep);
        }
        here_ = std::move(next);
        isAtTop_ = false;
    }

    std::vector<OccurringName> namesBelow(bool isDeep) {
        std::vector<OccurringName> names;
        for (const NodeKind kind : {NodeKind::element, NodeKind::attribute})
            addNames(kind, isDeep, names);
        for (const PathId path : summary_.irregular())
            addIrregular(path, names);
        // Names of one count stay in the order of their first use.
        std::ranges::stable_sort(names, std::greater(), &OccurringName::count);
        return names;
    }

private:
    /** Whether a path is one below the places where the walk has come, or further below. */
    bool isAt(PathId path, bool isDeep) const {
        if (!summary_[path].isRegular) return false;
        PathId parent = summary_[path].parent;
        if (isAtTop_) return isDeep || parent == noPath;
        while (isDeep && parent != noPath && !here_[parent])
            parent = summary_[parent].parent;
        return parent != noPath && here_[parent];
    }

    void addNames(NodeKind kind, bool isDeep, std::vector<OccurringName> &names) const {
        std::vector<std::uint64_t> counts;
        std::vector<bool> haveElements;
        for (const auto &[table, index] : parts_) {
            for (const PathId path : index.ofKind(kind)) {
                const std::uint32_t name = summary_[path].name;
                if (!isAt(path, isDeep) || name == noName) continue;
                if (name >= counts.size()) counts.resize(name + 1);
                haveElements.resize(counts.size());
                counts[name] += table.liveRows(path)->cardinality();
                if (hasElements(path)) haveElements[name] = true;
            }
        }
        for (std::uint32_t name = 0; name < counts.size(); ++name) {
            if (counts[name] == 0) continue;
            const NodeName &text = parts_.front().table.nameOf(name);
            names.push_back({kind, std::string(text.prefix), std::string(text.local), counts[name],
                             haveElements[name]});
        }
    }

    /** Their nodes have names of their own, and may be anywhere. */
    void addIrregular(PathId path, std::vector<OccurringName> &names) const {
        const NodeKind kind = summary_[path].kind;
        std::uint64_t count = 0;
        for (const SummaryOfPart &part : parts_)
            count += part.table.liveRows(path)->cardinality();
        if (count > 0 && (kind == NodeKind::element || kind == NodeKind::attribute))
            names.push_back({kind, "", "*", count, true});
    }

    bool hasElements(PathId path) const {
        return std::ranges::any_of(summary_.children(path), [&](PathId child) {
            return summary_[child].kind == NodeKind::element;
        });
    }

    const PathSummary &summary_;
    std::span<const SummaryOfPart> parts_;
    std::vector<bool> here_;
    bool isAtTop_ = true;
};

}  // namespace

std::vector<OccurringName> occurringNames(std::span<const SummaryOfPart> parts,
                                          const NamePlace &place) {
    NameWalk walk(parts);
    for (const NameStep &step : place.steps)
        walk.step(step);
    return walk.namesBelow(place.isDeep);
}

}  // namespace zdbs::embedded
