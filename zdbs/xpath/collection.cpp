#include "zdbs/xpath/collection.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <numeric>
#include <utility>

#include "zdbs/base/stop.h"

namespace zdbs::xpath {
namespace {

using Roots = std::vector<std::uint32_t>;

template <typename Operation>
Roots combined(const Roots &a, const Roots &b, Operation operation) {
    Roots result;
    operation(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(result));
    return result;
}

constexpr auto uniting = [](auto... all) { std::set_union(all...); };
constexpr auto intersecting = [](auto... all) { std::set_intersection(all...); };
constexpr auto subtracting = [](auto... all) { std::set_difference(all...); };

/** The records among nodes. */
std::vector<RecordId> recordsAmong(std::span<const Node> nodes) {
    std::vector<RecordId> records;
    records.reserve(nodes.size());
    for (const Node node : nodes) {
        if (!isRoot(node)) records.push_back(recordOf(node));
    }
    return records;
}

/** What is told of records, as nodes; a root keeps its own. */
template <typename Own>
Nodes withRoots(std::span<const Node> nodes, const std::vector<RecordId> &told, Own own) {
    Nodes result;
    result.reserve(nodes.size());
    auto next = told.begin();
    for (const Node node : nodes)
        result.push_back(isRoot(node) ? own(node) : nodeOf(*next++));
    return result;
}

}  // namespace

Collection::Collection(const OpenDatabase &database)
    : database_(database), tree_(database.tree()), everything_(database.everything()) {
    none_.nodes = tree_->listed({});
    roots_.nodes = none_.nodes;
    roots_.roots.resize(documentCount());
    std::iota(roots_.roots.begin(), roots_.roots.end(), 0);
}

std::size_t Collection::documentOf(Node node) const {
    const auto documents = tree_->documents();
    const auto after = std::upper_bound(
        documents.begin(), documents.end(), recordOf(node),
        [](RecordId record, const DocumentSpan &document) { return record < document.first; });
    return static_cast<std::size_t>(after - documents.begin()) - 1;
}

Node Collection::root(std::size_t document) const {
    return rootBefore(tree_->documents()[document].first);
}

NodeSet Collection::setOf(std::span<const Node> ascending) const {
    for (const Listed &each : listed_) {
        if (std::ranges::equal(each.nodes, ascending) && each.set.nodes) return each.set;
    }
    return {tree_->listed(recordsAmong(ascending)), rootsAmong(ascending)};
}

NodeSet Collection::picked(const NodeSet &set, std::span<const Node> ascending) const {
    if (ascending.size() == sizeOf(set)) return set;
    NodeSet some{tree_->picked(*set.nodes, recordsAmong(ascending)), rootsAmong(ascending)};
    remember(some, ascending);
    return some;
}

/** Few are found as fast one by one, and many are worked on in batches. */
void Collection::remember(const NodeSet &set, std::span<const Node> nodes) const {
    constexpr std::size_t few = 64;
    constexpr std::size_t many = std::size_t{1} << 18U;
    if (nodes.size() < few || nodes.size() > many) return;
    listed_[nextListed_++ % listed_.size()] = {set, Nodes(nodes.begin(), nodes.end())};
}

/** The places of the documents whose roots are among nodes. */
std::vector<std::uint32_t> Collection::rootsAmong(std::span<const Node> nodes) const {
    std::vector<std::uint32_t> roots;
    for (const Node node : nodes) {
        if (isRoot(node)) roots.push_back(static_cast<std::uint32_t>(documentOf(node)));
    }
    return roots;
}

Nodes Collection::nodesOf(const NodeSet &set) const {
    const std::vector<RecordId> records = tree_->numbers(*set.nodes);
    Nodes nodes;
    nodes.reserve(records.size() + set.roots.size());
    auto nextRoot = set.roots.begin();
    for (const RecordId record : records) {
        for (; nextRoot != set.roots.end() && root(*nextRoot) < nodeOf(record); ++nextRoot)
            nodes.push_back(root(*nextRoot));
        nodes.push_back(nodeOf(record));
    }
    for (; nextRoot != set.roots.end(); ++nextRoot)
        nodes.push_back(root(*nextRoot));
    remember(set, nodes);
    return nodes;
}

Node Collection::firstOf(const NodeSet &set) const {
    const bool hasRecords = set.nodes->size() > 0;
    if (!hasRecords) return root(set.roots.front());
    const Node first = nodeOf(database_.record(*set.nodes, 1));
    return set.roots.empty() ? first : std::min(first, root(set.roots.front()));
}

NodeSet Collection::nodeAt(const NodeSet &set, double place) const {
    if (place < 1 || place > static_cast<double>(sizeOf(set))) return none_;
    const auto index = static_cast<std::int64_t>(place);
    const Node found = set.roots.empty() ? nodeOf(database_.record(*set.nodes, index))
                                         : nodesOf(set)[static_cast<std::size_t>(index) - 1];
    return setOf({&found, 1});
}

std::uint64_t Collection::sizeOf(const NodeSet &set) const {
    return static_cast<std::uint64_t>(set.nodes->size()) + set.roots.size();
}

NodeSet Collection::united(const NodeSet &a, const NodeSet &b) const {
    return {tree_->united(*a.nodes, *b.nodes), combined(a.roots, b.roots, uniting)};
}

NodeSet Collection::common(const NodeSet &a, const NodeSet &b) const {
    return {tree_->common(*a.nodes, *b.nodes), combined(a.roots, b.roots, intersecting)};
}

NodeSet Collection::without(const NodeSet &a, const NodeSet &b) const {
    return {tree_->without(*a.nodes, *b.nodes), combined(a.roots, b.roots, subtracting)};
}

ResultSetPtr Collection::matching(const NodePattern &pattern) const {
    const std::string key = std::to_string(static_cast<int>(pattern.kind)) +
                            (pattern.local ? "l" + *pattern.local : "") + '\n' +
                            (pattern.uri ? "u" + *pattern.uri : "");
    ResultSetPtr &known = matching_[key];
    if (!known) known = tree_->matching(pattern);
    return known;
}

NodeSet Collection::passing(Axis axis, const NodeTest &test) const {
    switch (test.kind) {
        case NodeTest::Kind::node:
            return {everything_, roots_.roots};
        case NodeTest::Kind::text:
            return {matching({NodeKind::text}), {}};
        case NodeTest::Kind::comment:
            return {matching({NodeKind::comment}), {}};
        case NodeTest::Kind::instruction: {
            NodePattern pattern{NodeKind::processingInstruction};
            if (!test.local.empty()) pattern.local = test.local;
            return {matching(pattern), {}};
        }
        case NodeTest::Kind::name:
            break;
    }
    const bool isAttribute = traitsOf(axis).toAttributes;
    NodePattern pattern{isAttribute ? NodeKind::attribute : NodeKind::element};
    if (!test.isAnyLocal) pattern.local = test.local;
    if (!test.isAnySpace) pattern.uri = test.uri;
    return {matching(pattern), {}};
}

NodeSet Collection::reached(const NodeSet &contexts, Axis axis, const NodeTest &test) const {
    const NodeSet among = passing(axis, test);
    NodeSet result;
    if (leadsToAll(contexts, axis, test)) {
        const bool isOfAnyKind = test.kind == NodeTest::Kind::node;
        result.nodes = isOfAnyKind ? contained() : among.nodes;
    } else {
        result.nodes = tree_->reached(axis, contexts, *among.nodes);
    }
    if (test.kind == NodeTest::Kind::node) result.roots = rootsReached(contexts, axis);
    return result;
}

/** Whether whatever the test lets pass is below the contexts, which have all roots among them. */
bool Collection::leadsToAll(const NodeSet &contexts, Axis axis, const NodeTest &test) const {
    const AxisTraits &traits = traitsOf(axis);
    if (traits.region != Region::below || contexts.roots.size() != documentCount()) return false;
    if (traits.toAttributes && test.kind != NodeTest::Kind::name) return false;
    // Of other contexts there may be attributes, which lead to themselves.
    const bool isDeep = !traits.isDirect && (!traits.withSelf || contexts.nodes->size() == 0);
    return isDeep || contexts.nodes == contained_;
}

/** Every node but attributes. */
const ResultSetPtr &Collection::contained() const {
    if (!contained_) contained_ = tree_->without(*everything_, *matching({NodeKind::attribute}));
    return contained_;
}

std::vector<std::uint32_t> Collection::rootsReached(const NodeSet &contexts, Axis axis) const {
    const AxisTraits &traits = traitsOf(axis);
    Roots roots;
    if (traits.withSelf) roots = contexts.roots;
    if (traits.region != Region::above) return roots;
    const ResultSetPtr from = traits.isDirect ? atTop(*contexts.nodes) : contexts.nodes;
    return combined(roots, documentsOf(*from), uniting);
}

/** Those whose parent is the root of a document. */
ResultSetPtr Collection::atTop(const ResultSet &set) const {
    return tree_->reached(Axis::child, roots_, set);
}

std::vector<std::uint32_t> Collection::documentsOf(const ResultSet &set) const {
    if (set.size() == 0) return {};
    if (documentCount() == 1) return {0};
    Roots documents;
    for (const RecordId record : tree_->numbers(set)) {
        if (!documents.empty() && record <= tree_->documents()[documents.back()].last) continue;
        documents.push_back(static_cast<std::uint32_t>(documentOf(nodeOf(record))));
    }
    return documents;
}

NodeSet Collection::leading(const NodeSet &contexts, Axis axis, const NodeSet &targets) const {
    return tree_->leading(axis, contexts, targets);
}

NodeSet Collection::atPosition(const NodeSet &set, Relation relation, double place) const {
    return {tree_->atPosition(*set.nodes, relation, place), {}};
}

std::optional<NodeSet> Collection::placedOnAxis(const NodeSet &contexts, Axis axis,
                                                const NodeTest &test, Relation relation,
                                                double place) const {
    // Neither roots nor attributes are what conditions relate as expressions do.
    const bool fromRoots = !contexts.roots.empty() && traitsOf(axis).region == Region::below;
    if (test.kind == NodeTest::Kind::node || fromRoots || !isEmpty(attributesAmong(contexts)))
        return std::nullopt;
    const NodeSet among = passing(axis, test);
    const auto evaluated = [this](Term term, const SetLookup &sets) {
        Condition condition;
        condition.conjuncts.emplace_back().push_back({false, std::move(term)});
        return database_.evaluate(condition, sets);
    };
    const ResultSetPtr reached = evaluated(AxisTerm{axis, {1}, {2}, 2}, [&](SetReference set) {
        return set.number == 1 ? contexts.nodes : among.nodes;
    });
    const auto counted = [&](SetReference) { return reached; };
    return NodeSet{evaluated(PositionTerm{{1}, relation, place}, counted), {}};
}

NodeSet Collection::containers(const NodeSet &set) const {
    return {tree_->common(*set.nodes, *matching({NodeKind::element})), set.roots};
}

NodeSet Collection::attributesAmong(const NodeSet &set) const {
    return {tree_->common(*set.nodes, *matching({NodeKind::attribute})), {}};
}

Nodes Collection::parents(std::span<const Node> nodes, const NodeSet &set) const {
    const std::vector<RecordId> told = tree_->parents(*set.nodes);
    Nodes result;
    result.reserve(nodes.size());
    auto next = told.begin();
    for (const Node node : nodes) {
        const RecordId parent = isRoot(node) ? 0 : *next++;
        result.push_back(parent != 0 ? nodeOf(parent) : isRoot(node) ? node : rootOf(node));
    }
    return result;
}

Nodes Collection::ends(std::span<const Node> nodes, const NodeSet &set) const {
    return withRoots(nodes, tree_->ends(*set.nodes),
                     [this](Node root) { return lastOf(documentOf(root)); });
}

StringValues Collection::strings(std::span<const Node> nodes, const NodeSet &set) const {
    StringValues result;
    const NodeSet containers = this->containers(set);
    if (sizeOf(containers) == nodes.size()) {
        result.texts.resize(nodes.size());
    } else {
        const std::vector<std::string_view> values = tree_->values(*set.nodes);
        result.texts.reserve(nodes.size());
        auto next = values.begin();
        for (const Node node : nodes)
            result.texts.push_back(isRoot(node) ? std::string_view() : *next++);
    }
    if (!isEmpty(containers)) addContained(nodes, containers, result);
    return result;
}

namespace {

/** Puts the texts below elements and roots together. */
class Composer {
public:
    Composer(std::span<const Node> nodes, std::span<const Node> containers, const Nodes &ends,
             StringValues &result)
        : nodes_(nodes), containers_(containers), ends_(ends), result_(result) {}

    /** REQUIRES that texts come in document order. */
    void add(Node text, std::string_view value) {
        for (; next_ < containers_.size() && containers_[next_] < text; ++next_) {
            close(containers_[next_]);
            open_.push_back({placeOf(containers_[next_]), ends_[next_]});
        }
        close(text);
        for (Open &each : open_)
            append(each, value);
    }

private:
    struct Open {
        std::size_t place;
        Node end;
        std::string *made = nullptr;
    };

    /** Each is behind the ones before. */
    std::size_t placeOf(Node container) {
        while (nodes_[place_] != container)
            ++place_;
        return place_;
    }

    void close(Node upTo) {
        while (!open_.empty() && open_.back().end < upTo)
            open_.pop_back();
    }

    void append(Open &element, std::string_view value) {
        std::string_view &text = result_.texts[element.place];
        if (text.empty()) {
            text = value;
            return;
        }
        if (!element.made) element.made = &result_.made.emplace_back(text);
        element.made->append(value);
        text = *element.made;
    }

    std::span<const Node> nodes_;
    std::span<const Node> containers_;
    const Nodes &ends_;
    StringValues &result_;
    std::size_t next_ = 0;
    std::size_t place_ = 0;
    std::vector<Open> open_;
};

}  // namespace

void Collection::addContained(std::span<const Node> nodes, const NodeSet &set,
                              StringValues &result) const {
    const NodeTest test{.kind = NodeTest::Kind::text};
    const ResultSetPtr texts = reached(set, Axis::descendant, test).nodes;
    const std::vector<RecordId> numbers = tree_->numbers(*texts);
    const std::vector<std::string_view> values = tree_->values(*texts);
    if (sizeOf(set) == nodes.size() && sizeOf(withOneText(set)) == nodes.size()) {
        // Each text is of the last element before it.
        std::size_t behind = 0;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            while (behind < nodes.size() && nodes[behind] < nodeOf(numbers[i]))
                ++behind;
            result.texts[behind - 1] = values[i];
        }
        return;
    }
    const Nodes containers = nodesOf(set);
    const Nodes ends = this->ends(containers, set);
    Composer composer(nodes, containers, ends, result);
    StopCounter stop;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        stop.step();
        composer.add(nodeOf(numbers[i]), values[i]);
    }
}

NamesOfNodes Collection::names(std::span<const Node> nodes, const NodeSet &set) const {
    NamesOfNodes told = tree_->names(*set.nodes);
    if (told.which.size() == nodes.size()) return told;
    const auto nameless = static_cast<std::uint32_t>(told.distinct.size());
    told.distinct.emplace_back();
    std::vector<std::uint32_t> which;
    auto next = told.which.begin();
    for (const Node node : nodes)
        which.push_back(isRoot(node) ? nameless : *next++);
    told.which = std::move(which);
    return told;
}

}  // namespace zdbs::xpath
