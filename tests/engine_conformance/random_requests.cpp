#include "tests/engine_conformance/random_requests.h"

#include <utility>
#include <variant>

namespace zdbs::conformance {
namespace {

constexpr std::array relations{
    Relation::equal,     Relation::notEqual, Relation::less,
    Relation::lessEqual, Relation::greater,  Relation::greaterEqual,
    Relation::contains,  Relation::notEmpty, Relation::any,
};
constexpr std::size_t comparisons = 6;

constexpr std::array places{1.0, 2.0, 3.0, -1.0, -2.0, 0.0, 1.5, -1.5, 100.0};

constexpr std::array names{"a", "b", "c", "x", "y", "p", "*", "", "q"};
constexpr std::array spaces{"p", "", "urn:1", "urn:2", "u", "n", "none"};
constexpr std::array types{
    "ELEMENT", "ATTRIBUTE", "ATTRIBUTE", "TEXT", "COMMENT", "PROCESSING_INSTRUCTION", "T"};
constexpr std::array values{"1", "2", "v1", "3v", "v", "", "1.0", "01", "-1", "x", " ", "a b"};

std::string_view sign(Relation relation) {
    constexpr std::array<std::string_view, relations.size()> signs{
        "=", "<>", "<", "<=", ">", ">=", " contains ", " is not empty ", " is "};
    return signs[static_cast<std::size_t>(relation)];
}

std::string written(SetReference set) {
    return std::to_string(set.number);
}

std::string written(const Term &term) {
    constexpr std::array<std::string_view, 7> fields{
        "", "N_ID", "N_TYPE", "N_NAME", "N_NAMESPACE", "N_PARENT", "N_TVALUE"};
    if (const auto *set = std::get_if<SetReference>(&term)) return "S=" + written(*set);
    if (const auto *axis = std::get_if<AxisTerm>(&term))
        return "XPATH(" + std::string(nameOf(axis->axis)) + "," + written(axis->first) + "," +
               written(axis->second) + "," + std::to_string(axis->direction) + ")";
    if (const auto *position = std::get_if<PositionTerm>(&term))
        return "XPATH(SELF," + written(position->set) + std::string(sign(position->relation)) +
               std::to_string(position->place) + ")";
    if (const auto *field = std::get_if<FieldTerm>(&term))
        return std::string(fields[static_cast<std::size_t>(field->field)]) +
               std::string(sign(field->relation)) + "\"" + field->text + "\"";
    return "(" + conformance::written(*std::get<std::unique_ptr<Condition>>(term)) + ")";
}

}  // namespace

Condition RandomRequests::condition() {
    const bool isPosition = !finder_.sets().empty() && oneIn(4);
    if (!isPosition) return conjuncts(0);
    PositionTerm position{set(), relation(true), any(places)};
    Condition result;
    result.conjuncts.emplace_back().push_back({false, position});
    return result;
}

Condition RandomRequests::conjuncts(int depth) {
    Condition result;
    do {
        Conjunct &conjunct = result.conjuncts.emplace_back();
        conjunct.push_back({false, term(depth)});
        while (oneIn(3))
            conjunct.push_back({oneIn(3), term(depth)});
    } while (oneIn(4));
    return result;
}

Term RandomRequests::term(int depth) {
    const std::size_t kind = below(10);
    if (kind == 0 && depth < 2) return std::make_unique<Condition>(conjuncts(depth + 1));
    if (kind < 4) return field();
    if (kind < 6) return set();
    const auto axis = oneIn(4) ? Axis::child : static_cast<Axis>(below(axisTable.size()));
    const SetReference first = set();
    return AxisTerm{axis, first, set(), oneIn(2) ? 1 : 2};
}

/** Rather one that is not empty. */
SetReference RandomRequests::set() {
    std::size_t number = below(finder_.sets().size() + 1);
    const bool isEmpty = number > 0 && finder_.sets()[number - 1]->size() == 0;
    if (isEmpty) number = below(finder_.sets().size() + 1);
    return {static_cast<std::int32_t>(number), 1};
}

FieldTerm RandomRequests::field() {
    FieldTerm result;
    result.field = static_cast<Field>(1 + below(6));
    const bool isNumber = result.field == Field::id || result.field == Field::parent;
    result.relation = relation(isNumber);
    result.text = literal(result.field);
    return result;
}

std::string RandomRequests::literal(Field field) {
    switch (field) {
        case Field::id:
        case Field::parent:
            return record();
        case Field::type:
            return any(types);
        case Field::name:
            return any(names);
        case Field::nameSpace:
            return any(spaces);
        case Field::value:
            break;
    }
    return any(values);
}

std::string RandomRequests::record() {
    const ResultSetPtr everything = finder_.database().everything();
    const auto size = static_cast<std::size_t>(everything->size());
    const std::size_t ordinal = below(size + 1);
    if (ordinal == 0) return "0";
    return std::to_string(
        finder_.database().record(*everything, static_cast<std::int64_t>(ordinal)));
}

Relation RandomRequests::relation(bool comparison) {
    return relations[below(comparison ? comparisons : relations.size())];
}

std::vector<FragmentSpec> RandomRequests::specs() {
    std::vector<FragmentSpec> result;
    do {
        FragmentSpec &spec = result.emplace_back();
        do
            spec.push_back(path());
        while (oneIn(4));
    } while (oneIn(3));
    return result;
}

FragmentPath RandomRequests::path() {
    FragmentPath result;
    while (result.size() < 3 && !oneIn(3)) {
        FragmentStep &step = result.emplace_back();
        step.axis = static_cast<Axis>(below(axisTable.size()));
        step.test = nodeTest();
        while (oneIn(2))
            step.filters.push_back(filter(0));
    }
    return result;
}

NodeTest RandomRequests::nodeTest() {
    NodeTest test;
    test.kind = static_cast<NodeTest::Kind>(below(5));
    if (oneIn(2)) test.kind = NodeTest::Kind::name;
    if (test.kind != NodeTest::Kind::name) return test;
    const std::string local = any(names);
    if (local != "*") test.local = local;
    if (oneIn(4)) test.space = any(spaces);
    return test;
}

FragmentFilter RandomRequests::filter(int depth) {
    using Kind = FragmentFilter::Kind;
    FragmentFilter result;
    result.kind = static_cast<Kind>(below(depth < 2 ? 5 : 3));
    result.relation = relation(true);
    result.place = any(places);
    result.ofLast = oneIn(2);
    const std::size_t choice = below(finder_.sets().size());
    if (result.kind == Kind::among) result.among = finder_.sets()[choice];
    if (result.kind == Kind::both || result.kind == Kind::either) {
        result.sides.push_back(filter(depth + 1));
        result.sides.push_back(filter(depth + 1));
    }
    return result;
}

std::vector<ResultSetPtr> RandomRequests::marked() {
    std::vector<ResultSetPtr> result;
    for (const ResultSetPtr &set : finder_.sets()) {
        if (oneIn(2)) result.push_back(set);
    }
    return result;
}

std::string written(const Condition &condition) {
    std::string text;
    for (const Conjunct &conjunct : condition.conjuncts) {
        if (!text.empty()) text += " OR ";
        for (const ConjunctTerm &each : conjunct) {
            if (&each != &conjunct.front()) text += each.negated ? " NOT " : " AND ";
            text += written(each.term);
        }
    }
    return text;
}

}  // namespace zdbs::conformance
