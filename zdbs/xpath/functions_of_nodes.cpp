// Calls: of the functions that know nodes, positions and documents, and the way to the others.
#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include "zdbs/base/utf8.h"
#include "zdbs/base/xml_namespace.h"
#include "zdbs/xpath/characters.h"
#include "zdbs/xpath/evaluator.h"

namespace zdbs::xpath {
namespace {

NodeTest xmlAttribute(const char *local) {
    return {.kind = NodeTest::Kind::name, .local = local, .uri = std::string(xmlNamespace)};
}

Argument argumentAt(const Value &value, std::size_t entry) {
    switch (value.type()) {
        case ValueType::number:
            return value.numbers()[entry];
        case ValueType::boolean:
            return value.truths()[entry] != 0;
        case ValueType::string:
        case ValueType::nodeSet:
            break;
    }
    return value.texts()[entry];
}

/** Takes what a function answers into a column of its type. */
class Answers {
public:
    explicit Answers(ValueType type) : type_(type) {}

    void add(const Scalar &answer) {
        if (type_ == ValueType::number)
            numbers_.push_back(std::get<double>(answer));
        else if (type_ == ValueType::boolean)
            truths_.push_back(static_cast<char>(std::get<bool>(answer)));
        else
            texts_.add(std::get<std::string>(answer));
    }

    Value take(Mapping mapping) {
        if (type_ == ValueType::number) return {std::move(numbers_), std::move(mapping)};
        if (type_ == ValueType::boolean) return {std::move(truths_), std::move(mapping)};
        return {std::move(texts_), std::move(mapping)};
    }

private:
    ValueType type_;
    Value::Numbers numbers_;
    Value::Truths truths_;
    TextColumn texts_;
};

Value answered(const Call &call, const Joined &joined) {
    const auto &values = joined.values();
    Answers answers(traitsOf(call.function).result);
    std::vector<Argument> arguments(values.size());
    for (std::size_t place = 0; place < joined.size(); ++place) {
        for (std::size_t i = 0; i < values.size(); ++i)
            arguments[i] = argumentAt(values[i], joined.entry(values[i], place));
        answers.add(xpath::call(call.function, arguments));
    }
    return answers.take(joined.mapping());
}

/** The argument of a function that is not converted by the table. */
ValueType wantedType(const Call &call, std::size_t place) {
    const FunctionTraits &traits = traitsOf(call.function);
    if (traits.isConverted) return traits.argument;
    if (call.function == Function::substring)
        return place == 0 ? ValueType::string : ValueType::number;
    return call.arguments[place]->traits.type;
}

/** Without regard to the case of ASCII: that range, or one of its subranges. */
bool isOfLanguage(std::string_view language, std::string_view wanted) {
    const auto lower = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    };
    const auto same = [&](char a, char b) { return lower(a) == lower(b); };
    if (language.size() < wanted.size()) return false;
    if (!std::equal(wanted.begin(), wanted.end(), language.begin(), same)) return false;
    return language.size() == wanted.size() || language[wanted.size()] == '-';
}

void addTokens(std::string_view text, std::vector<std::string_view> &tokens) {
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = at;
        while (end < text.size() && !isSpace(text[end]))
            ++end;
        if (end > at) tokens.push_back(text.substr(at, end - at));
        at = end + 1;
    }
}

}  // namespace

Value Evaluator::of(const Call &call, const Contexts &contexts) {
    switch (call.function) {
        case Function::last:
        case Function::position:
            return position(call, contexts);
        case Function::count:
        case Function::id:
        case Function::localName:
        case Function::namespaceUri:
        case Function::name:
        case Function::lang:
        case Function::sum:
            return ofNodes(call, contexts);
        case Function::string:
        case Function::concat:
        case Function::startsWith:
        case Function::contains:
        case Function::substringBefore:
        case Function::substringAfter:
        case Function::substring:
        case Function::stringLength:
        case Function::normalizeSpace:
        case Function::translate:
        case Function::boolean:
        case Function::logicalNot:
        case Function::logicalTrue:
        case Function::logicalFalse:
        case Function::number:
        case Function::floor:
        case Function::ceiling:
        case Function::round:
            break;
    }
    std::vector<Value> arguments = this->arguments(call, contexts);
    const bool isConversion = call.function == Function::string ||
                              call.function == Function::number ||
                              call.function == Function::boolean;
    if (isConversion) return arguments.front();
    return answered(call, Joined(std::move(arguments), contexts.size()));
}

std::vector<Value> Evaluator::arguments(const Call &call, const Contexts &contexts) {
    std::vector<Value> values;
    for (std::size_t place = 0; place < call.arguments.size(); ++place) {
        const Value value = evaluate(*call.arguments[place], contexts);
        values.push_back(value.as(wantedType(call, place)));
    }
    return values;
}

Value Evaluator::position(const Call &call, const Contexts &contexts) {
    if (contexts.isCollection) return Value::constant(1.0);
    const auto &places = call.function == Function::last ? contexts.sizes : contexts.positions;
    return {Value::Numbers(places.begin(), places.end()), Mapping()};
}

Value Evaluator::ofNodes(const Call &call, const Contexts &contexts) {
    if (call.function == Function::count) return count(*call.arguments[0], contexts);
    const Value argument = arguments(call, contexts).front();
    if (call.function == Function::lang) return language(argument, contexts);
    if (call.function == Function::id) return identified(argument, contexts);
    if (call.function == Function::sum) return sum(argument);
    return names(call.function, argument);
}

Value Evaluator::count(const Expression &nodes, const Contexts &contexts) {
    if (const Path *path = contexts.size() > 1 ? countablePath(nodes) : nullptr) {
        if (const auto counts = countsOf(*path, contexts.nodes))
            return {Value::Numbers(counts->begin(), counts->end()), {}};
    }
    const Value argument = evaluate(nodes, contexts);
    Value::Numbers counts;
    for (std::size_t entry = 0; entry < argument.entries(); ++entry)
        counts.push_back(static_cast<double>(argument.nodes().count(entry)));
    return {std::move(counts), argument.mapping()};
}

Value Evaluator::sum(const Value &nodes) {
    const NodeColumn &column = nodes.nodes();
    Value::Numbers sums;
    for (std::size_t entry = 0; entry < column.size(); ++entry) {
        double sum = 0;
        for (std::size_t place = column.groups().begin(entry); place < column.groups().end(entry);
             ++place)
            sum += toNumber(column.texts()[place]);
        sums.push_back(sum);
    }
    return {std::move(sums), nodes.mapping()};
}

namespace {

/** What a function tells of a name. */
std::string partOf(const NodeName &name, Function function) {
    if (function == Function::localName) return std::string(name.local);
    if (function == Function::namespaceUri) return std::string(name.uri);
    return std::string(name.prefix) + (name.prefix.empty() ? "" : ":") + std::string(name.local);
}

}  // namespace

Value Evaluator::names(Function function, const Value &nodes) {
    const Groups firsts = firstsOf(nodes.nodes());
    const Nodes distinct = distinctNodes(firsts);
    const NamesOfNodes names = collection_.names(distinct);
    TextColumn column;
    for (const NodeName &name : names.distinct)
        column.add(partOf(name, function));
    const std::vector<std::string_view> byName = std::exchange(column.texts, {});
    column.texts.reserve(firsts.size());
    for (std::size_t entry = 0; entry < firsts.size(); ++entry) {
        const auto first = firsts[entry];
        column.texts.push_back(first.empty()
                                   ? std::string_view()
                                   : byName[names.which[placeIn(distinct, first.front())]]);
    }
    return {std::move(column), nodes.mapping()};
}

/** The nearest xml:lang around a node, or on it. */
Value Evaluator::language(const Value &wanted, const Contexts &contexts) {
    if (contexts.isCollection) return Value::constant(false);
    Nodes distinct(contexts.nodes.begin(), contexts.nodes.end());
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    // The nearest is the last in document order.
    Groups around = pairs(distinct, {Axis::ancestorOrSelf, {}, {}});
    around = step(around, {Axis::attribute, xmlAttribute("lang"), {}});
    const NodeTexts texts(collection_, around);
    Value::Truths truths;
    for (std::size_t i = 0; i < contexts.size(); ++i) {
        const std::size_t group = placeIn(distinct, contexts.nodes[i]);
        const bool hasLanguage = around.begin(group) != around.end(group);
        truths.push_back(static_cast<char>(
            hasLanguage && isOfLanguage(texts[around.end(group) - 1], wanted.text(i))));
    }
    return {std::move(truths), Mapping()};
}

/** Elements by what their xml:id says, white space normalized; all of one, in document order. */
const std::map<std::string, Nodes, std::less<>> &Evaluator::identifiers() {
    if (identifiers_) return *identifiers_;
    identifiers_.emplace();
    const Nodes attributes =
        collection_.nodesOf(collection_.passing(Axis::attribute, xmlAttribute("id")));
    const Nodes elements = collection_.parents(attributes);
    const StringValues values = collection_.strings(attributes);
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        std::vector<std::string_view> tokens;
        addTokens(values.texts[i], tokens);
        if (tokens.size() == 1) (*identifiers_)[std::string(tokens[0])].push_back(elements[i]);
    }
    return *identifiers_;
}

/** The first element of each name in the document of the context, or in each of the collection. */
Value Evaluator::identified(const Value &wanted, const Contexts &contexts) {
    const bool isSet = wanted.type() == ValueType::nodeSet;
    const Value texts = isSet ? wanted : wanted.asTexts();
    Groups groups;
    for (std::size_t context = 0; context < contexts.size(); ++context) {
        const std::size_t entry = texts.mapping()(context);
        std::vector<std::string_view> tokens;
        if (!isSet) addTokens(texts.texts()[entry], tokens);
        const std::size_t count = isSet ? texts.nodes().groups()[entry].size() : 0;
        for (std::size_t place = 0; place < count; ++place)
            addTokens(texts.nodes().texts()[texts.nodes().groups().begin(entry) + place], tokens);
        for (const std::string_view token : tokens) {
            const auto found = identifiers().find(token);
            if (found == identifiers().end()) continue;
            std::optional<std::size_t> last;
            for (const Node element : found->second) {
                const std::size_t document = collection_.documentOf(element);
                const bool isHere = contexts.isCollection ||
                                    document == collection_.documentOf(contexts.nodes[context]);
                if (isHere && last != document) groups.add(element);
                last = document;
            }
        }
        groups.closeSorted();
    }
    return {std::make_shared<const NodeColumn>(collection_, std::move(groups)),
            Mapping{contexts.isCollection, {}}};
}

}  // namespace zdbs::xpath
