#include "zdbs/sql/field_filter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "zdbs/base/axis.h"
#include "zdbs/base/number.h"
#include "zdbs/base/utf8.h"
#include "zdbs/language/type_word.h"

namespace zdbs::sql {
namespace {

bool matches(Relation relation, std::string_view value, const std::string &literal) {
    if (relation == Relation::any) return true;
    if (relation == Relation::notEmpty) return !value.empty();
    if (relation == Relation::notEqual) return !matches(Relation::equal, value, literal);
    if (!isUtf8(literal)) return false;
    if (relation == Relation::contains) return value.find(literal) != std::string_view::npos;
    return holds(relation, value, std::string_view(literal));
}

bool matchesName(const Path &path, const FieldTerm &term) {
    if (!path.is(NodeKind::element) && !path.is(NodeKind::attribute) &&
        !path.is(NodeKind::processingInstruction))
        return false;
    const bool isEveryName = term.relation == Relation::equal && term.text == "*";
    return isEveryName || matches(term.relation, path.key.local, term.text);
}

/** By the prefix as written or by the namespace name; without a prefix by the latter only. */
bool matchesNamespace(const Path &path, const FieldTerm &term) {
    if (!path.is(NodeKind::element) && !path.is(NodeKind::attribute)) return false;
    const bool byUri = matches(term.relation, path.key.uri, term.text);
    if (path.key.prefix.empty()) return byUri;
    const bool byPrefix = matches(term.relation, path.key.prefix, term.text);
    return term.relation == Relation::notEqual ? byUri && byPrefix : byUri || byPrefix;
}

template <typename Test>
PathSet pathsWith(const Summary &summary, const PredicatePtr &predicate, Test test) {
    PathSet result;
    for (PathNumber path = rootPath + 1; path < summary.size(); ++path) {
        if (summary[path].nodes > 0 && test(summary[path])) result.emplace(path, predicate);
    }
    return result;
}

/** Records that have a relation to a number: all from `first` to in front of `end`, or the rest. */
struct Stretch {
    RecordId first = 0;
    RecordId end = 0;
    bool isRest = false;
};

RecordId bounded(double number) {
    constexpr double most = 9e18;
    return static_cast<RecordId>(std::clamp(number, 0.0, most));
}

Stretch stretchOf(Relation relation, double number) {
    constexpr RecordId most = std::numeric_limits<std::int64_t>::max();
    const bool isWhole = std::floor(number) == number && number >= 0;
    const RecordId one = bounded(std::floor(number));
    switch (relation) {
        case Relation::equal:
            return {isWhole ? one : 0, isWhole ? one + 1 : 0};
        case Relation::notEqual:
            return {isWhole ? one : 0, isWhole ? one + 1 : 0, true};
        case Relation::less:
            return {0, bounded(std::ceil(number))};
        case Relation::lessEqual:
            return {0, number < 0 ? 0 : one + 1};
        case Relation::greater:
            return {number < 0 ? 0 : one + 1, most};
        case Relation::greaterEqual:
            return {bounded(std::ceil(number)), most};
        case Relation::contains:
        case Relation::notEmpty:
        case Relation::any:
            break;
    }
    return {};
}

bool isIn(const Stretch &stretch, RecordId record) {
    return (stretch.first <= record && record < stretch.end) != stretch.isRest;
}

PathSet nodesNumbered(const State &state, const FieldTerm &term) {
    const Summary &summary = state.summary;
    if (term.relation == Relation::notEmpty) return everyNode(summary);
    const auto number = numberOf(term.text);
    if (!number) return {};
    const Stretch stretch = stretchOf(term.relation, *number);
    RowTest test{term.field == Field::parent, stretch.isRest, {}};
    for (const RowRange &each : state.rows(stretch.first, stretch.end))
        test.ranges.push_back({each.part, each.first, each.last});
    const PredicatePtr rows = predicate(test);
    if (!test.ofParent) return pathsWith(summary, rows, [](const Path &) { return true; });
    PathSet result = pathsWith(summary, rows, [](const Path &path) { return path.level > 1; });
    // At the top of a document the parent has number 0.
    if (isIn(stretch, 0))
        result.merge(pathsWith(summary, nullptr, [](const Path &path) { return path.level == 1; }));
    return result;
}

/** No value has a NUL: what is compared with one is decided in front of it. */
ValueTest withoutNul(ValueTest test) {
    const std::size_t nul = test.literal.find('\0');
    if (nul == std::string::npos) return test;
    test.literal.resize(nul);
    test.asNumber = false;
    if (test.relation == Relation::less) test.relation = Relation::lessEqual;
    if (test.relation == Relation::greaterEqual) test.relation = Relation::greater;
    return test;
}

/** Literals that no value can be, or have in it. */
bool isImpossible(Relation relation, const std::string &literal) {
    if (!isUtf8(literal)) return true;
    const bool hasNul = literal.find('\0') != std::string::npos;
    return hasNul && (relation == Relation::equal || relation == Relation::contains);
}

}  // namespace

PathSet nodesValued(const Summary &summary, const ValueTest &test) {
    const auto valued = [&](const PredicatePtr &predicate) {
        return pathsWith(summary, predicate,
                         [](const Path &path) { return !path.is(NodeKind::element); });
    };
    const bool isNot = test.relation == Relation::notEqual;
    const bool isComparison = test.relation != Relation::any && test.relation != Relation::notEmpty;
    const bool isEverything = test.relation == Relation::any ||
                              (test.relation == Relation::contains && test.literal.empty());
    if (isEverything) return valued(nullptr);
    if (isComparison && isImpossible(isNot ? Relation::equal : test.relation, test.literal))
        return isNot ? valued(nullptr) : PathSet();
    return valued(predicate(withoutNul(test)));
}

PathSet everyNode(const Summary &summary) {
    return pathsWith(summary, nullptr, [](const Path &) { return true; });
}

PathSet nodesWith(const State &state, const FieldTerm &term) {
    const Summary &summary = state.summary;
    switch (term.field) {
        case Field::id:
        case Field::parent:
            return nodesNumbered(state, term);
        case Field::type:
            return pathsWith(summary, nullptr, [&](const Path &path) {
                return matches(term.relation, typeWord(path.key.kind), term.text);
            });
        case Field::name:
            return pathsWith(summary, nullptr,
                             [&](const Path &path) { return matchesName(path, term); });
        case Field::nameSpace:
            return pathsWith(summary, nullptr,
                             [&](const Path &path) { return matchesNamespace(path, term); });
        case Field::value:
            return nodesValued(summary, {term.relation, term.text, true});
    }
    return {};
}

bool isOrdinal(const Summary &summary, const Pairs &pairs, double place) {
    const auto *step = std::get_if<StepPairs>(&pairs.made);
    const bool isChildren =
        std::holds_alternative<SiblingPairs>(pairs.made) ||
        (step != nullptr && (step->axis == Axis::child || step->axis == Axis::attribute));
    if (!isChildren || place < 0) return false;
    std::set<PathNumber> parents;
    for (const auto &[path, predicate] : *pairs.nodes) {
        if (predicate || !parents.insert(summary[path].key.parent).second) return false;
    }
    for (PathNumber path = rootPath + 1; path < summary.size(); ++path) {
        const Path &other = summary[path];
        if (other.nodes == 0 || !parents.contains(other.key.parent) || pairs.nodes->contains(path))
            continue;
        const auto sameName = [&](const auto &each) {
            const Path &own = summary[each.first];
            return own.key.parent == other.key.parent && own.isAttribute() == other.isAttribute() &&
                   writtenName(own) == writtenName(other);
        };
        if (std::any_of(pairs.nodes->begin(), pairs.nodes->end(), sameName)) return false;
    }
    return true;
}

}  // namespace zdbs::sql
