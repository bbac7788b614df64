#include "tests/engine_conformance/naive/values.h"

#include <algorithm>

#include "zdbs/base/number.h"
#include "zdbs/base/utf8.h"
#include "zdbs/language/type_word.h"

namespace zdbs::naive {
namespace {

/** A literal that is a number compares as one where `asNumbers` says so. */
bool compares(Relation relation, std::string_view value, const std::string &literal,
              bool asNumbers) {
    const auto number = asNumbers ? canonicalDecimal(literal) : std::nullopt;
    if (!number) return holds(relation, value, std::string_view(literal));
    const auto other = numberOf(value);
    return other && holds(relation, *other, *number);
}

bool matches(Relation relation, std::string_view value, const std::string &literal,
             bool asNumbers = false) {
    if (relation == Relation::any) return true;
    if (relation == Relation::notEmpty) return !value.empty();
    if (relation == Relation::notEqual) return !matches(Relation::equal, value, literal, asNumbers);
    if (!isUtf8(literal)) return false;
    if (relation == Relation::contains) return value.find(literal) != std::string_view::npos;
    return compares(relation, value, literal, asNumbers);
}

bool matchesName(const Node &node, const FieldTerm &term) {
    if (!node.is(NodeKind::element) && !node.is(NodeKind::attribute) &&
        !node.is(NodeKind::processingInstruction))
        return false;
    const bool isEveryName = term.relation == Relation::equal && term.text == "*";
    return isEveryName || matches(term.relation, node.local, term.text);
}

/** By the prefix as written or by the namespace name; without a prefix by the latter only. */
bool matchesNamespace(const Node &node, const FieldTerm &term) {
    if (!node.is(NodeKind::element) && !node.is(NodeKind::attribute)) return false;
    const bool byUri = matches(term.relation, node.uri, term.text);
    if (node.prefix.empty()) return byUri;
    const bool byPrefix = matches(term.relation, node.prefix, term.text);
    return term.relation == Relation::notEqual ? byUri && byPrefix : byUri || byPrefix;
}

bool matchesNumber(RecordId record, const FieldTerm &term) {
    if (term.relation == Relation::notEmpty) return true;
    const auto number = numberOf(term.text);
    return number && holds(term.relation, static_cast<double>(record), *number);
}

void addHits(std::string_view value, const FieldTerm &term, std::vector<HitRange> &hits) {
    if (value.empty()) return;
    if (term.relation != Relation::contains || term.text.empty())
        return hits.push_back({0, value.size()});
    for (std::size_t at = value.find(term.text); at != std::string_view::npos;
         at = value.find(term.text, at + term.text.size()))
        hits.push_back({at, term.text.size()});
}

/** Words are what white space separates; white space belongs to the word behind it. */
std::int32_t wordAt(std::string_view value, std::size_t offset) {
    constexpr std::string_view white = " \t\r\n";
    const std::size_t begin = std::min(value.find_first_not_of(white, offset), value.size());
    std::int32_t words = 0;
    for (std::size_t at = 0; at < value.size() && at <= begin; ++at) {
        const bool afterWhite = at == 0 || white.find(value[at - 1]) != std::string_view::npos;
        if (afterWhite && white.find(value[at]) == std::string_view::npos) ++words;
    }
    return std::max(words, 1);
}

}  // namespace

bool satisfies(const Forest &forest, Place place, const FieldTerm &term) {
    const Node &node = forest[place];
    switch (term.field) {
        case Field::id:
            return matchesNumber(forest.record(place), term);
        case Field::parent:
            return matchesNumber(forest.record(forest.parent(place)), term);
        case Field::type:
            return matches(term.relation, typeWord(*node.kind), term.text);
        case Field::name:
            return matchesName(node, term);
        case Field::nameSpace:
            return matchesNamespace(node, term);
        case Field::value:
            return !node.is(NodeKind::element) &&
                   matches(term.relation, node.value, term.text, true);
    }
    return false;
}

bool hasValue(std::string_view value, const ValuePattern &pattern) {
    return matches(pattern.relation, value, pattern.literal, pattern.asNumber);
}

std::vector<HitRange> hitsIn(const Forest &forest, const Leaves &leaves, Place node) {
    std::vector<HitRange> hits;
    for (const auto &leaf : leaves) {
        if (!std::binary_search(leaf->nodes.begin(), leaf->nodes.end(), node)) continue;
        for (const FieldTerm &term : leaf->terms)
            addHits(forest[node].value, term, hits);
    }
    std::sort(hits.begin(), hits.end(),
              [](const HitRange &a, const HitRange &b) { return a.offset < b.offset; });
    std::vector<HitRange> merged;
    for (const HitRange &hit : hits) {
        const std::size_t end = merged.empty() ? 0 : merged.back().offset + merged.back().length;
        if (hit.offset >= end)
            merged.push_back(hit);
        else
            merged.back().length = std::max(end, hit.offset + hit.length) - merged.back().offset;
    }
    return merged;
}

std::vector<HitWord> hitWordsOf(const Forest &forest, const Leaves &leaves, Place node) {
    HitWord word;
    word.part = static_cast<std::int32_t>(forest.documentOf(node)) + 1;
    word.field = static_cast<std::int32_t>(Field::id);
    std::vector<HitWord> words;
    for (const HitRange &hit : hitsIn(forest, leaves, node)) {
        word.field = static_cast<std::int32_t>(Field::value);
        word.word = wordAt(forest[node].value, hit.offset);
        word.length = static_cast<std::int32_t>(hit.length);
        words.push_back(word);
    }
    if (words.empty()) words.push_back(word);
    return words;
}

}  // namespace zdbs::naive
