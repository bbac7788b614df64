#include "tests/engine_conformance/naive/tree.h"

#include <algorithm>
#include <utility>

#include "tests/engine_conformance/naive/sets.h"
#include "tests/engine_conformance/naive/values.h"
#include "zdbs/base/stop.h"

namespace zdbs::naive {
namespace {

const Set &naive(const ResultSet &set) {
    return static_cast<const Set &>(set);
}

class Tree : public NodeTree {
public:
    explicit Tree(ForestPtr forest) : forest_(std::move(forest)) {
        for (const DocumentPtr &document : forest_->documents())
            documents_.push_back({document->first, document->first + document->records() - 1});
        for (Place place = 0; place < forest_->size(); ++place) {
            if (forest_->isRoot(place)) roots_.push_back(place);
        }
    }

    std::span<const DocumentSpan> documents() const override { return documents_; }

    ResultSetPtr listed(std::span<const RecordId> records) const override {
        Places places;
        for (const RecordId record : records)
            places.push_back(forest_->find(record));
        return made(std::move(places));
    }

    ResultSetPtr matching(const NodePattern &pattern) const override {
        return those([&](Place place) {
            const Node &node = (*forest_)[place];
            return node.is(pattern.kind) && (!pattern.local || *pattern.local == node.local) &&
                   (!pattern.uri || *pattern.uri == node.uri);
        });
    }

    ResultSetPtr united(const ResultSet &a, const ResultSet &b) const override {
        return those([&](Place place) { return has(a, place) || has(b, place); });
    }

    ResultSetPtr common(const ResultSet &a, const ResultSet &b) const override {
        return those([&](Place place) { return has(a, place) && has(b, place); });
    }

    ResultSetPtr without(const ResultSet &a, const ResultSet &b) const override {
        return those([&](Place place) { return has(a, place) && !has(b, place); });
    }

    ResultSetPtr reached(Axis axis, const NodesAndRoots &contexts,
                         const ResultSet &among) const override {
        const Places from = placesOf(contexts);
        return those([&](Place place) {
            return has(among, place) && std::any_of(from.begin(), from.end(), [&](Place context) {
                       return forest_->isOnAxis(context, axis, place);
                   });
        });
    }

    NodesAndRoots leading(Axis axis, const NodesAndRoots &contexts,
                          const NodesAndRoots &targets) const override {
        const Places to = placesOf(targets);
        const auto leads = [&](Place context) {
            heedStop();
            return std::any_of(to.begin(), to.end(), [&](Place place) {
                return forest_->isOnAxis(context, axis, place);
            });
        };
        NodesAndRoots result{
            those([&](Place place) { return has(*contexts.nodes, place) && leads(place); })};
        for (const std::uint32_t root : contexts.roots) {
            if (leads(roots_[root])) result.roots.push_back(root);
        }
        return result;
    }

    ResultSetPtr atPosition(const ResultSet &set, Relation relation, double place) const override {
        return naive::atPosition(naive(set), relation, place);
    }

    ResultSetPtr withValue(const ResultSet &set, const ValuePattern &pattern) const override {
        return those([&](Place place) {
            return has(set, place) && !(*forest_)[place].is(NodeKind::element) &&
                   hasValue((*forest_)[place].value, pattern);
        });
    }

    ResultSetPtr withOneText(const ResultSet &elements) const override {
        const auto countBelow = [&](Place place, NodeKind kind) {
            std::size_t count = 0;
            for (Place below = place + 1; below <= forest_->last(place); ++below)
                count += (*forest_)[below].is(kind) ? 1 : 0;
            return count;
        };
        return those([&](Place place) {
            return has(elements, place) && (*forest_)[place].is(NodeKind::element) &&
                   countBelow(place, NodeKind::element) == 0 &&
                   countBelow(place, NodeKind::text) <= 1;
        });
    }

    std::vector<RecordId> numbers(const ResultSet &set) const override {
        return each<RecordId>(set, [&](Place place) { return forest_->record(place); });
    }

    std::vector<RecordId> parents(const ResultSet &set) const override {
        return each<RecordId>(set,
                              [&](Place place) { return forest_->record(forest_->parent(place)); });
    }

    std::vector<RecordId> ends(const ResultSet &set) const override {
        return each<RecordId>(set,
                              [&](Place place) { return forest_->record(forest_->last(place)); });
    }

    std::vector<std::string_view> values(const ResultSet &set) const override {
        return each<std::string_view>(
            set, [&](Place place) -> std::string_view { return (*forest_)[place].value; });
    }

    NamesOfNodes names(const ResultSet &set) const override {
        NamesOfNodes names;
        names.distinct = each<NodeName>(set, [&](Place place) { return (*forest_)[place].name(); });
        for (std::uint32_t which = 0; which < names.distinct.size(); ++which)
            names.which.push_back(which);
        return names;
    }

private:
    static bool has(const ResultSet &set, Place place) { return naive(set).contains(place); }

    ResultSetPtr made(Places places) const {
        return std::make_shared<Set>(forest_, std::move(places));
    }

    template <typename Condition>
    ResultSetPtr those(Condition condition) const {
        heedStop();
        Places places = forest_->records();
        std::erase_if(places, [&](Place place) { return !condition(place); });
        return made(std::move(places));
    }

    template <typename T, typename Fact>
    static std::vector<T> each(const ResultSet &set, Fact fact) {
        std::vector<T> facts;
        for (const Place place : naive(set).nodes)
            facts.push_back(fact(place));
        return facts;
    }

    Places placesOf(const NodesAndRoots &side) const {
        Places places = naive(*side.nodes).nodes;
        for (const std::uint32_t root : side.roots)
            places.push_back(roots_[root]);
        return places;
    }

    ForestPtr forest_;
    std::vector<DocumentSpan> documents_;
    Places roots_;
};

}  // namespace

std::unique_ptr<NodeTree> treeOf(ForestPtr forest) {
    return std::make_unique<Tree>(std::move(forest));
}

}  // namespace zdbs::naive
