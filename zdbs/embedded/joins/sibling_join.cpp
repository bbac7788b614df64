#include "zdbs/embedded/joins/sibling_join.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <utility>

#include "zdbs/embedded/joins/sibling_keys.h"
#include "zdbs/embedded/joins/vertical_join.h"
#include "zdbs/embedded/paths/row_collector.h"
#include "zdbs/embedded/paths/row_sets.h"

namespace zdbs::embedded {
namespace {

/** A side so many times as large as the other is cut down to the other's parents first. */
constexpr std::uint64_t muchLarger = 16;

/** Keys of which at least one in so many has a node are an array, else a map. */
constexpr std::uint64_t dense = 16;

/** A node for each key: the partner that reaches furthest. */
class Outermost {
public:
    /**
     * @param keys one more than the greatest key
     * @param after whether the last partner counts, or the first
     */
    Outermost(std::uint32_t keys, std::uint64_t partners, bool after) : after_(after) {
        if (partners * dense >= keys) byKey_.resize(keys, noNode);
    }

    void add(SiblingKey key, NodeId node) {
        NodeId &place = key < byKey_.size() ? byKey_[key] : few_[key];
        if (place == noNode || (after_ ? node > place : node < place)) place = node;
    }

    /** Whether the partner for this key is beyond the node. */
    bool isBeyond(SiblingKey key, NodeId node) const {
        const NodeId place = at(key);
        return after_ ? place > node : place != noNode && place < node;
    }

private:
    NodeId at(SiblingKey key) const {
        if (key < byKey_.size()) return byKey_[key];
        const auto place = few_.find(key);
        return place == few_.end() ? noNode : place->second;
    }

    bool after_;
    std::vector<NodeId> byKey_;
    std::unordered_map<SiblingKey, NodeId> few_;
};

/** The parts of both sides whose paths have one parent. */
struct Family {
    PathNodes candidates;
    PathNodes partners;
};

/** Calls `take` with the rows, keys and numbers of a part's nodes, some at a time. */
template <typename Take>
void forSiblings(const NodeTable &nodes, const PathTable &table, const PathPart &part, Take take) {
    RowReader reader(table, part.path, *part.rows);
    SiblingKeys keys(nodes, table, part.path);
    std::array<SiblingKey, RowReader::batchSize> keyOf;
    std::array<NodeId, RowReader::batchSize> nodeOf;
    for (RowBatch batch; reader.next(batch);) {
        keys.read(batch, keyOf);
        readNodes(batch, nodeOf);
        take(batch.rows, keyOf.data(), nodeOf.data());
    }
}

RowSet parentsOf(const PathTable &table, const PathNodes &nodes) {
    RowSet result;
    for (const PathPart &part : nodes)
        result |= parentsOf(table, part.path, *part.rows);
    return result;
}

PathNodes withParents(const PathTable &table, const PathNodes &nodes, const RowSet &parents) {
    PathNodes result;
    for (const PathPart &part : nodes) {
        RowSetPtr rows = childrenOf(table, part.path, parents, part.rows);
        if (rows) result.push_back({part.path, std::move(rows)});
    }
    return result;
}

void shrinkLargerSide(const PathTable &table, Family &family) {
    const std::uint64_t candidates = sizeOf(family.candidates);
    const std::uint64_t partners = sizeOf(family.partners);
    if (candidates > muchLarger * partners) {
        const RowSet parents = parentsOf(table, family.partners);
        family.candidates = withParents(table, family.candidates, parents);
    } else if (partners > muchLarger * candidates) {
        const RowSet parents = parentsOf(table, family.candidates);
        family.partners = withParents(table, family.partners, parents);
    }
}

/** The rows of a part with a partner beyond them. */
RowSetPtr keptRows(const NodeTable &nodes, const PathTable &table, const PathPart &part,
                   const Outermost &outermost) {
    RowCollector kept;
    std::array<RowId, RowReader::batchSize> rows;
    forSiblings(nodes, table, part,
                [&](std::span<const RowId> batch, const SiblingKey *keys, const NodeId *numbers) {
                    std::size_t count = 0;
                    for (std::size_t i = 0; i < batch.size(); ++i) {
                        rows[count] = batch[i];
                        count += outermost.isBeyond(keys[i], numbers[i]) ? 1 : 0;
                    }
                    kept.add(std::span(rows).first(count));
                });
    return kept.finishPart(table, part.path, part.rows);
}

void keepOfFamily(const NodeTable &nodes, const PathTable &table, PathId parent, Family &family,
                  bool after, PathNodes &result) {
    if (family.candidates.empty() || family.partners.empty()) return;
    if (parent != noPath) shrinkLargerSide(table, family);
    const std::uint32_t keys = SiblingKeys::count(nodes, table, parent);
    Outermost outermost(keys, sizeOf(family.partners), after);
    for (const PathPart &part : family.partners) {
        forSiblings(nodes, table, part,
                    [&](std::span<const RowId> batch, const SiblingKey *key, const NodeId *node) {
                        for (std::size_t i = 0; i < batch.size(); ++i)
                            outermost.add(key[i], node[i]);
                    });
    }
    for (const PathPart &part : family.candidates) {
        RowSetPtr rows = keptRows(nodes, table, part, outermost);
        if (rows) result.push_back({part.path, std::move(rows)});
    }
}

}  // namespace

PathNodes besides(const NodeTable &nodes, const PathTable &table, const PathNodes &candidates,
                  const PathNodes &partners, bool after) {
    std::map<PathId, Family> families;
    for (const PathPart &part : candidates)
        families[table.summary()[part.path].parent].candidates.push_back(part);
    for (const PathPart &part : partners)
        families[table.summary()[part.path].parent].partners.push_back(part);
    PathNodes result;
    for (auto &[parent, family] : families)
        keepOfFamily(nodes, table, parent, family, after, result);
    std::sort(result.begin(), result.end(),
              [](const PathPart &a, const PathPart &b) { return a.path < b.path; });
    return result;
}

}  // namespace zdbs::embedded
