#include "zdbs/embedded/parted_tree.h"

#include <algorithm>
#include <utility>

#include "zdbs/embedded/embedded_set.h"
#include "zdbs/embedded/part_work.h"
#include "zdbs/embedded/tree/node_id.h"

namespace zdbs::embedded {
namespace {

/** Each part is asked about its own nodes, whose numbers are those of records less these. */
RecordId before(std::size_t part) {
    return recordOf(static_cast<PartNumber>(part), 0);
}

class PartedTree : public NodeTree {
public:
    explicit PartedTree(std::vector<std::unique_ptr<NodeTree>> parts) : parts_(std::move(parts)) {
        for (std::size_t part = 0; part < parts_.size(); ++part) {
            firstDocuments_.push_back(static_cast<std::uint32_t>(documents_.size()));
            for (const DocumentSpan &each : parts_[part]->documents())
                documents_.push_back({before(part) + each.first, before(part) + each.last});
        }
        firstDocuments_.push_back(static_cast<std::uint32_t>(documents_.size()));
    }

    std::span<const DocumentSpan> documents() const override { return documents_; }

    ResultSetPtr listed(std::span<const RecordId> records) const override {
        return setOfEach([&](const NodeTree &tree, std::size_t part) {
            return tree.listed(recordsOfPart(records, part));
        });
    }

    ResultSetPtr picked(const ResultSet &set, std::span<const RecordId> records) const override {
        return setOfEach([&](const NodeTree &tree, std::size_t part) {
            return tree.picked(ofPart(set, part), recordsOfPart(records, part));
        });
    }

    ResultSetPtr matching(const NodePattern &pattern) const override {
        return setOfEach([&](const NodeTree &tree, std::size_t) { return tree.matching(pattern); });
    }

    ResultSetPtr united(const ResultSet &a, const ResultSet &b) const override {
        return setOfEach([&](const NodeTree &tree, std::size_t part) {
            return tree.united(ofPart(a, part), ofPart(b, part));
        });
    }

    ResultSetPtr common(const ResultSet &a, const ResultSet &b) const override {
        return setOfEach([&](const NodeTree &tree, std::size_t part) {
            return tree.common(ofPart(a, part), ofPart(b, part));
        });
    }

    ResultSetPtr without(const ResultSet &a, const ResultSet &b) const override {
        return setOfEach([&](const NodeTree &tree, std::size_t part) {
            return tree.without(ofPart(a, part), ofPart(b, part));
        });
    }

    ResultSetPtr reached(Axis axis, const NodesAndRoots &contexts,
                         const ResultSet &among) const override {
        return setOfEach([&](const NodeTree &tree, std::size_t part) {
            return tree.reached(axis, ofPart(contexts, part), ofPart(among, part));
        });
    }

    NodesAndRoots leading(Axis axis, const NodesAndRoots &contexts,
                          const NodesAndRoots &targets) const override {
        std::vector<NodesAndRoots> found(parts_.size());
        forEachPart(parts_.size(), [&](std::size_t part) {
            found[part] =
                parts_[part]->leading(axis, ofPart(contexts, part), ofPart(targets, part));
        });
        std::vector<ResultSetPtr> nodes;
        NodesAndRoots all;
        for (std::size_t part = 0; part < parts_.size(); ++part) {
            nodes.push_back(std::move(found[part].nodes));
            for (const std::uint32_t root : found[part].roots)
                all.roots.push_back(firstDocuments_[part] + root);
        }
        all.nodes = std::make_shared<PartedSet>(std::move(nodes));
        return all;
    }

    ResultSetPtr atPosition(const ResultSet &set, Relation relation, double place) const override {
        return setOfEach([&](const NodeTree &tree, std::size_t part) {
            return tree.atPosition(ofPart(set, part), relation, place);
        });
    }

    ResultSetPtr withValue(const ResultSet &set, const ValuePattern &pattern) const override {
        return setOfEach([&](const NodeTree &tree, std::size_t part) {
            return tree.withValue(ofPart(set, part), pattern);
        });
    }

    ResultSetPtr withOneText(const ResultSet &elements) const override {
        return setOfEach([&](const NodeTree &tree, std::size_t part) {
            return tree.withOneText(ofPart(elements, part));
        });
    }

    bool isKeptTogether(const ResultSet &set) const override {
        for (std::size_t part = 0; part < parts_.size(); ++part) {
            if (!parts_[part]->isKeptTogether(ofPart(set, part))) return false;
        }
        return true;
    }

    std::vector<RecordId> numbers(const ResultSet &set) const override {
        return recordsOfEach(set, &NodeTree::numbers);
    }
    std::vector<RecordId> parents(const ResultSet &set) const override {
        return recordsOfEach(set, &NodeTree::parents);
    }
    std::vector<RecordId> ends(const ResultSet &set) const override {
        return recordsOfEach(set, &NodeTree::ends);
    }

    std::vector<std::string_view> values(const ResultSet &set) const override {
        std::vector<std::string_view> all;
        for (const auto &values : factsOfEach(set, &NodeTree::values))
            all.insert(all.end(), values.begin(), values.end());
        return all;
    }

    NamesOfNodes names(const ResultSet &set) const override {
        NamesOfNodes all;
        for (const NamesOfNodes &names : factsOfEach(set, &NodeTree::names)) {
            const auto first = static_cast<std::uint32_t>(all.distinct.size());
            all.distinct.insert(all.distinct.end(), names.distinct.begin(), names.distinct.end());
            for (const std::uint32_t which : names.which)
                all.which.push_back(first + which);
        }
        return all;
    }

    void requireIntact() const override {
        for (const auto &part : parts_)
            part->requireIntact();
    }

private:
    /** As the part numbers them. */
    static std::vector<RecordId> recordsOfPart(std::span<const RecordId> records,
                                               std::size_t part) {
        const auto first = std::ranges::lower_bound(records, before(part));
        const auto end = std::ranges::lower_bound(records, before(part + 1));
        std::vector<RecordId> own(first, end);
        for (RecordId &record : own)
            record -= before(part);
        return own;
    }

    static const ResultSet &ofPart(const ResultSet &set, std::size_t part) {
        return *partsOf(set)[part];
    }

    NodesAndRoots ofPart(const NodesAndRoots &side, std::size_t part) const {
        const auto first = std::ranges::lower_bound(side.roots, firstDocuments_[part]);
        const auto end = std::ranges::lower_bound(side.roots, firstDocuments_[part + 1]);
        NodesAndRoots own{partsOf(*side.nodes)[part], {first, end}};
        for (std::uint32_t &root : own.roots)
            root -= firstDocuments_[part];
        return own;
    }

    template <typename Make>
    ResultSetPtr setOfEach(const Make &make) const {
        std::vector<ResultSetPtr> sets(parts_.size());
        forEachPart(parts_.size(),
                    [&](std::size_t part) { sets[part] = make(*parts_[part], part); });
        return std::make_shared<PartedSet>(std::move(sets));
    }

    template <typename Facts>
    std::vector<Facts> factsOfEach(const ResultSet &set,
                                   Facts (NodeTree::*facts)(const ResultSet &) const) const {
        std::vector<Facts> each(parts_.size());
        forEachPart(parts_.size(), [&](std::size_t part) {
            each[part] = ((*parts_[part]).*facts)(ofPart(set, part));
        });
        return each;
    }

    /** Numbers of nodes; 0, which is none, stays. */
    std::vector<RecordId> recordsOfEach(const ResultSet &set,
                                        std::vector<RecordId> (NodeTree::*facts)(const ResultSet &)
                                            const) const {
        std::vector<RecordId> all;
        const auto each = factsOfEach(set, facts);
        for (std::size_t part = 0; part < each.size(); ++part) {
            for (const RecordId node : each[part])
                all.push_back(node == noNode ? node : before(part) + node);
        }
        return all;
    }

    std::vector<std::unique_ptr<NodeTree>> parts_;
    std::vector<DocumentSpan> documents_;
    std::vector<std::uint32_t> firstDocuments_;  ///< by part, their places; and the end
};

}  // namespace

std::unique_ptr<NodeTree> makePartedTree(std::vector<std::unique_ptr<NodeTree>> parts) {
    return std::make_unique<PartedTree>(std::move(parts));
}

}  // namespace zdbs::embedded
