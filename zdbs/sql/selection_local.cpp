/** What one look at a row tells. Each test is true or false, and never unknown. */
#include <algorithm>

#include "zdbs/base/number.h"
#include "zdbs/base/utf8.h"
#include "zdbs/sql/schema.h"
#include "zdbs/sql/selection.h"

namespace zdbs::sql {
namespace {

std::string firstCharacters(const std::string &text, std::size_t count) {
    std::size_t end = 0;
    for (; count > 0 && end < text.size(); --count)
        end += std::max<std::size_t>(characterLength(std::string_view(text).substr(end)), 1);
    return text.substr(0, end);
}

/** Of LIKE. */
std::string pattern(const std::string &needle) {
    std::string text = "%";
    for (const char each : needle) {
        if (each == '%' || each == '_' || each == '\\') text += '\\';
        text += each;
    }
    return text + "%";
}

/** What holds of the beginnings where it holds of the wholes. */
Relation weaker(Relation relation) {
    if (relation == Relation::less) return Relation::lessEqual;
    if (relation == Relation::greater) return Relation::greaterEqual;
    return relation;
}

std::string rowsIn(const std::string &column, const std::vector<RowTest::Range> &ranges) {
    std::string text;
    for (const RowTest::Range &each : ranges) {
        if (!text.empty()) text += " or ";
        text += "(n.part = " + std::to_string(each.part) + " and " + column + " between " +
                std::to_string(each.first) + " and " + std::to_string(each.last) + ")";
    }
    return text.empty() ? "n.part < 0" : "(" + text + ")";
}

}  // namespace

std::string Selection::local(const Predicate &predicate) {
    const auto joined = [this](const std::vector<PredicatePtr> &sides, const char *word) {
        std::string text;
        for (const PredicatePtr &each : sides)
            text += (text.empty() ? "(" : word) + local(*each);
        return text + ")";
    };
    if (const auto *value = std::get_if<ValueTest>(&predicate.test)) return local(*value);
    if (const auto *row = std::get_if<RowTest>(&predicate.test)) return local(*row);
    if (const auto *ordinal = std::get_if<OrdinalTest>(&predicate.test)) return local(*ordinal);
    if (const auto *all = std::get_if<Both>(&predicate.test)) return joined(all->sides, " and ");
    if (const auto *any = std::get_if<Either>(&predicate.test)) return joined(any->sides, " or ");
    return "not " + local(*std::get<Neither>(predicate.test).side);
}

std::string Selection::local(const ValueTest &test) {
    const auto number = test.asNumber ? canonicalDecimal(test.literal) : std::nullopt;
    switch (test.relation) {
        case Relation::any:
            return "n.value is not null";
        case Relation::notEmpty:
            return "n.value <> ''";
        case Relation::contains:
            return "n.value like " + statement_.bind(pattern(test.literal));
        case Relation::notEqual:
            return "not " + local(ValueTest{Relation::equal, test.literal, test.asNumber});
        case Relation::equal:
        case Relation::less:
        case Relation::lessEqual:
        case Relation::greater:
        case Relation::greaterEqual:
            break;
    }
    const std::string sign = " " + signOf(test.relation) + " ";
    if (number) return "(n.num is not null and n.num" + sign + statement_.bind(*number) + ")";
    return "(left(n.value, " + std::to_string(indexedCharacters) + ") " +
           signOf(weaker(test.relation)) + " " +
           statement_.bind(firstCharacters(test.literal, indexedCharacters)) + " and n.value" +
           sign + statement_.bind(test.literal) + ")";
}

std::string Selection::local(const RowTest &test) {
    return (test.isNegated ? "not " : "") +
           rowsIn(test.ofParent ? "n.parent" : "n.id", test.ranges);
}

std::string Selection::local(const OrdinalTest &test) {
    return "n.ord " + signOf(test.relation) + " " + statement_.bind(test.place);
}

}  // namespace zdbs::sql
