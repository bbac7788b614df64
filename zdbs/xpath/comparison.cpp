#include "zdbs/xpath/comparison.h"

#include <algorithm>
#include <array>
#include <utility>

#include "zdbs/base/relation.h"

namespace zdbs::xpath {
namespace {

constexpr std::array relations{Relation::equal,     Relation::notEqual, Relation::less,
                               Relation::lessEqual, Relation::greater,  Relation::greaterEqual};

bool isEquality(Relation relation) {
    return relation == Relation::equal || relation == Relation::notEqual;
}

/** NaN equals nothing, itself neither; here that is a difference. */
bool related(Relation relation, double left, double right) {
    if (relation == Relation::notEqual) return left != right;
    return holds(relation, left, right);
}

bool related(Relation relation, std::string_view left, std::string_view right) {
    return (left == right) == (relation == Relation::equal);
}

template <typename Test>
Value tested(const Joined &joined, Test test) {
    Value::Truths truths;
    truths.reserve(joined.size());
    for (std::size_t place = 0; place < joined.size(); ++place) {
        const Value &left = joined.values()[0];
        const Value &right = joined.values()[1];
        truths.push_back(
            static_cast<char>(test(joined.entry(left, place), joined.entry(right, place))));
    }
    return {std::move(truths), joined.mapping()};
}

bool haveCommonAmongFew(const NodeColumn &a, std::size_t entryOfA, const NodeColumn &b,
                        std::size_t entryOfB) {
    for (std::size_t i = a.groups().begin(entryOfA); i < a.groups().end(entryOfA); ++i) {
        for (std::size_t j = b.groups().begin(entryOfB); j < b.groups().end(entryOfB); ++j) {
            if (a.texts()[i] == b.texts()[j]) return true;
        }
    }
    return false;
}

/** Whether texts of both sides are equal; the smaller side is looked up in the other. */
bool haveCommonText(const NodeColumn &a, std::size_t entryOfA, const NodeColumn &b,
                    std::size_t entryOfB) {
    if (a.count(entryOfA) > b.count(entryOfB)) return haveCommonText(b, entryOfB, a, entryOfA);
    if (a.count(entryOfA) == 0) return false;
    constexpr std::uint64_t few = 4;
    if (b.count(entryOfB) <= few) return haveCommonAmongFew(a, entryOfA, b, entryOfB);
    const TextSet &texts = b.textSet(entryOfB);
    for (std::size_t place = a.groups().begin(entryOfA); place < a.groups().end(entryOfA);
         ++place) {
        if (texts.contains(a.texts()[place])) return true;
    }
    return false;
}

bool hasOtherThan(std::string_view text, const NodeColumn &nodes, std::size_t entry) {
    for (std::size_t place = nodes.groups().begin(entry); place < nodes.groups().end(entry);
         ++place) {
        if (nodes.texts()[place] != text) return true;
    }
    return false;
}

/** Not so only where all texts of both sides are the same. */
bool haveDifferentTexts(const NodeColumn &a, std::size_t entryOfA, const NodeColumn &b,
                        std::size_t entryOfB) {
    if (a.count(entryOfA) == 0 || b.count(entryOfB) == 0) return false;
    const std::string_view text = a.texts()[a.groups().begin(entryOfA)];
    return hasOtherThan(text, b, entryOfB) || hasOtherThan(text, a, entryOfA);
}

bool rangesAreRelated(Relation relation, NumberRange a, NumberRange b) {
    const bool wantsLess = relation == Relation::less || relation == Relation::lessEqual;
    return wantsLess ? holds(relation, a.least, b.greatest) : holds(relation, a.greatest, b.least);
}

Value comparedSets(Relation relation, const Value &left, const Value &right, std::size_t contexts) {
    const NodeColumn &a = left.nodes();
    const NodeColumn &b = right.nodes();
    return tested(Joined({left, right}, contexts), [&](std::size_t x, std::size_t y) {
        if (relation == Relation::equal) return haveCommonText(a, x, b, y);
        if (relation == Relation::notEqual) return haveDifferentTexts(a, x, b, y);
        return rangesAreRelated(relation, a.range(x), b.range(y));
    });
}

/** A set and a number or a string: whether it holds of one of the nodes. */
Value comparedWithSet(Relation relation, const Value &set, const Value &other,
                      std::size_t contexts) {
    const bool byText = isEquality(relation) && other.type() == ValueType::string;
    const Value scalar = byText ? other : other.asNumbers();
    const NodeColumn &nodes = set.nodes();
    return tested(Joined({set, scalar}, contexts), [&](std::size_t x, std::size_t y) {
        for (std::size_t place = nodes.groups().begin(x); place < nodes.groups().end(x); ++place) {
            const std::string_view text = nodes.texts()[place];
            const bool found = byText ? related(relation, text, scalar.texts()[y])
                                      : related(relation, toNumber(text), scalar.numbers()[y]);
            if (found) return true;
        }
        return false;
    });
}

Value comparedNumbers(Relation relation, const Value &left, const Value &right,
                      std::size_t contexts) {
    const Joined joined({left.asNumbers(), right.asNumbers()}, contexts);
    const Value::Numbers &a = joined.values()[0].numbers();
    const Value::Numbers &b = joined.values()[1].numbers();
    return tested(joined,
                  [&](std::size_t x, std::size_t y) { return related(relation, a[x], b[y]); });
}

Value comparedTruths(Relation relation, const Value &left, const Value &right,
                     std::size_t contexts) {
    return comparedNumbers(relation, left.asTruths(), right.asTruths(), contexts);
}

Value comparedTexts(Relation relation, const Value &left, const Value &right,
                    std::size_t contexts) {
    const Joined joined({left.asTexts(), right.asTexts()}, contexts);
    const auto &a = joined.values()[0].texts();
    const auto &b = joined.values()[1].texts();
    return tested(joined,
                  [&](std::size_t x, std::size_t y) { return related(relation, a[x], b[y]); });
}

}  // namespace

Relation relationOf(Operator sign) {
    return relations[static_cast<std::size_t>(sign) - static_cast<std::size_t>(Operator::equal)];
}

Relation turned(Relation relation) {
    if (relation == Relation::less) return Relation::greater;
    if (relation == Relation::greater) return Relation::less;
    if (relation == Relation::lessEqual) return Relation::greaterEqual;
    if (relation == Relation::greaterEqual) return Relation::lessEqual;
    return relation;
}

Value compared(Operator sign, const Value &left, const Value &right, std::size_t contexts) {
    const Relation relation = relationOf(sign);
    const auto either = [&](ValueType type) { return left.type() == type || right.type() == type; };
    // A boolean makes booleans of sets; of other values only where equality is asked for.
    const bool hasSet = either(ValueType::nodeSet);
    if (either(ValueType::boolean) && (hasSet || isEquality(relation)))
        return comparedTruths(relation, left, right, contexts);
    if (left.type() == ValueType::nodeSet && right.type() == ValueType::nodeSet)
        return comparedSets(relation, left, right, contexts);
    if (left.type() == ValueType::nodeSet) return comparedWithSet(relation, left, right, contexts);
    if (hasSet) return comparedWithSet(turned(relation), right, left, contexts);
    if (isEquality(relation) && !either(ValueType::number))
        return comparedTexts(relation, left, right, contexts);
    return comparedNumbers(relation, left, right, contexts);
}

}  // namespace zdbs::xpath
