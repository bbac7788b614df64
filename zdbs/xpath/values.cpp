#include "zdbs/xpath/values.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "zdbs/base/status.h"

namespace zdbs::xpath {

NodeTexts::NodeTexts(const Collection &collection, const Groups &groups) {
    if (isAscending(groups.nodes())) {
        strings_ = collection.strings(groups.nodes());
        return;
    }
    const Nodes distinct = distinctNodes(groups);
    strings_ = collection.strings(distinct);
    places_.reserve(groups.nodes().size());
    for (const Node node : groups.nodes())
        places_.push_back(placeIn(distinct, node));
}

NodeColumn::NodeColumn(const Collection &collection, NodeSet set)
    : collection_(collection), set_(std::move(set)) {}

NodeColumn::NodeColumn(const Collection &collection, Groups groups)
    : collection_(collection), groups_(std::move(groups)) {}

std::uint64_t NodeColumn::count(std::size_t entry) const {
    return set_ ? collection_.sizeOf(*set_) : groups_->end(entry) - groups_->begin(entry);
}

const ResultSetPtr &recordsOf(const NodeSet &set) {
    if (set.roots.empty()) return set.nodes;
    throw Failure(
        Status::requestFailed,
        {"the answer has roots of documents, which have no number, path or fragment: only "
         "their count can be told"});
}

const Groups &NodeColumn::groups() const {
    if (!groups_) groups_ = Groups::ofOne(collection_.nodesOf(*set_));
    return *groups_;
}

const NodeTexts &NodeColumn::texts() const {
    if (!texts_) texts_.emplace(collection_, groups());
    return *texts_;
}

NumberRange NodeColumn::range(std::size_t entry) const {
    ranges_.resize(size());
    if (ranges_[entry]) return *ranges_[entry];
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    NumberRange range{none, none};
    for (std::size_t place = groups().begin(entry); place < groups().end(entry); ++place) {
        const double number = toNumber(texts()[place]);
        if (std::isnan(number)) continue;
        range.least = std::fmin(range.least, number);
        range.greatest = std::fmax(range.greatest, number);
    }
    ranges_[entry] = range;
    return range;
}

const TextSet &NodeColumn::textSet(std::size_t entry) const {
    textSets_.resize(size());
    if (textSets_[entry]) return *textSets_[entry];
    auto set = std::make_unique<TextSet>();
    set->reserve(count(entry));
    for (std::size_t place = groups().begin(entry); place < groups().end(entry); ++place)
        set->insert(texts()[place]);
    textSets_[entry] = std::move(set);
    return *textSets_[entry];
}

void TextColumn::add(std::string_view text) {
    constexpr std::size_t most = std::size_t{1} << 16U;
    if (!made) made = std::make_shared<std::deque<std::string>>();
    if (made->empty() || made->back().capacity() - made->back().size() < text.size()) {
        const std::size_t usual = made->empty() ? 0 : std::min(2 * made->back().capacity(), most);
        made->emplace_back().reserve(std::max(usual, text.size()));
    }
    std::string &together = made->back();  // which has room, so that it stays where it is
    together.append(text);
    texts.push_back(std::string_view(together).substr(together.size() - text.size()));
}

Value::Value(Numbers numbers, Mapping mapping)
    : type_(ValueType::number),
      mapping_(std::move(mapping)),
      numbers_(std::make_shared<const Numbers>(std::move(numbers))) {}

Value::Value(TextColumn texts, Mapping mapping)
    : type_(ValueType::string),
      mapping_(std::move(mapping)),
      texts_(std::make_shared<const TextColumn>(std::move(texts))) {}

Value::Value(Truths truths, Mapping mapping)
    : type_(ValueType::boolean),
      mapping_(std::move(mapping)),
      truths_(std::make_shared<const Truths>(std::move(truths))) {}

Value::Value(NodeColumnPtr nodes, Mapping mapping)
    : type_(ValueType::nodeSet), mapping_(std::move(mapping)), nodes_(std::move(nodes)) {}

Value Value::constant(double number) {
    return {Numbers{number}, Mapping{true, {}}};
}

Value Value::constant(std::string_view text) {
    TextColumn column;
    column.add(text);
    return {std::move(column), Mapping{true, {}}};
}

Value Value::constant(bool truth) {
    return {Truths{static_cast<char>(truth)}, Mapping{true, {}}};
}

std::size_t Value::entries() const {
    switch (type_) {
        case ValueType::nodeSet:
            return nodes_->size();
        case ValueType::number:
            return numbers_->size();
        case ValueType::string:
            return texts_->texts.size();
        case ValueType::boolean:
            break;
    }
    return truths_->size();
}

Value Value::mapped(Mapping mapping) const {
    Value result = *this;
    result.mapping_ = std::move(mapping);
    return result;
}

Value Value::as(ValueType type) const {
    switch (type) {
        case ValueType::nodeSet:
            break;
        case ValueType::number:
            return asNumbers();
        case ValueType::string:
            return asTexts();
        case ValueType::boolean:
            return asTruths();
    }
    return *this;
}

Value Value::asNumbers() const {
    if (type_ == ValueType::number) return *this;
    if (type_ == ValueType::nodeSet) return asTexts().asNumbers();
    Numbers numbers;
    numbers.reserve(entries());
    for (std::size_t entry = 0; entry < entries(); ++entry)
        numbers.push_back(type_ == ValueType::string ? toNumber(texts()[entry]) : truths()[entry]);
    return {std::move(numbers), mapping_};
}

Groups firstsOf(const NodeColumn &nodes) {
    Groups firsts;
    firsts.reserve(nodes.size(), nodes.size());
    for (std::size_t entry = 0; entry < nodes.size(); ++entry) {
        if (nodes.count(entry) > 0) {
            firsts.add(nodes.set() ? nodes.collection().firstOf(*nodes.set())
                                   : nodes.groups()[entry].front());
        }
        firsts.close();
    }
    return firsts;
}

namespace {

/** The string-value of the first node of each entry; an empty one where there is none. */
TextColumn firstTexts(const Collection &collection, const NodeColumn &nodes) {
    const Groups firsts = firstsOf(nodes);
    auto texts = std::make_shared<const NodeTexts>(collection, firsts);
    TextColumn column;
    column.texts.reserve(nodes.size());
    for (std::size_t entry = 0; entry < nodes.size(); ++entry) {
        const bool isEmpty = firsts.begin(entry) == firsts.end(entry);
        column.texts.push_back(isEmpty ? std::string_view() : (*texts)[firsts.begin(entry)]);
    }
    column.owner = std::move(texts);
    return column;
}

}  // namespace

Value Value::asTexts() const {
    if (type_ == ValueType::string) return *this;
    if (type_ == ValueType::nodeSet) return {firstTexts(nodes_->collection(), *nodes_), mapping_};
    TextColumn column;
    for (std::size_t entry = 0; entry < entries(); ++entry) {
        column.add(type_ == ValueType::number ? toText(numbers()[entry])
                                              : toText(Scalar(truths()[entry] != 0)));
    }
    return {std::move(column), mapping_};
}

Value Value::asTruths() const {
    if (type_ == ValueType::boolean) return *this;
    Truths truths;
    truths.reserve(entries());
    for (std::size_t entry = 0; entry < entries(); ++entry) {
        const bool truth = type_ == ValueType::nodeSet  ? nodes().count(entry) > 0
                           : type_ == ValueType::number ? toTruth(numbers()[entry])
                                                        : !texts()[entry].empty();
        truths.push_back(static_cast<char>(truth));
    }
    return {std::move(truths), mapping_};
}

Joined::Joined(std::vector<Value> values, std::size_t contexts)
    : values_(std::move(values)), size_(contexts) {
    const auto varies = [](const Value &value) { return !value.mapping().isConstant; };
    const auto varying = std::count_if(values_.begin(), values_.end(), varies);
    if (varying > 1) return;
    byEntry_ = true;
    size_ = 1;
    mapping_ = Mapping{true, {}};
    if (varying == 0) return;
    const Value &only = *std::find_if(values_.begin(), values_.end(), varies);
    size_ = only.entries();
    mapping_ = only.mapping();
}

}  // namespace zdbs::xpath
