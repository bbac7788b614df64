// Comparisons of paths with what is the same for all nodes, tried on whole sets: where a value
// stands by itself the engine's indexes find it, string-values of elements are put together.
#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "zdbs/base/number.h"
#include "zdbs/xpath/characters.h"
#include "zdbs/xpath/comparison.h"
#include "zdbs/xpath/evaluator.h"
#include "zdbs/xpath/text_search.h"

namespace zdbs::xpath {
namespace {

/** The nodes of a set whose string-value passes, looked at one by one. */
template <typename Passes>
NodeSet tried(const Collection &collection, const NodeSet &set, Passes passes) {
    const Nodes nodes = collection.nodesOf(set);
    constexpr std::size_t batch = std::size_t{1} << 18U;
    Nodes left;
    for (std::size_t first = 0; first < nodes.size(); first += batch) {
        const auto some = std::span(nodes).subspan(first, std::min(batch, nodes.size() - first));
        const StringValues strings = collection.strings(some, collection.picked(set, some));
        for (std::size_t i = 0; i < some.size(); ++i) {
            if (passes(strings.texts[i])) left.push_back(some[i]);
        }
    }
    return collection.picked(set, left);
}

/**
 * Nodes of a set by their values: `ofValued` picks those that have one by themselves, `ofOthers`
 * those whose texts are put together. An element that has one text at most is found by that one.
 */
NodeSet split(const Collection &collection, const NodeSet &set, const NodeTrial &ofValued,
              const NodeTrial &ofOthers, bool emptyPasses) {
    const NodeSet containers = collection.containers(set);
    const NodeSet simple = collection.withOneText(containers);
    const NodeSet texts = collection.reached(simple, Axis::child, {.kind = NodeTest::Kind::text});
    const NodeSet valued = collection.without(set, containers);
    NodeSet result = collection.leading(simple, Axis::child, ofValued(texts));
    if (!collection.isEmpty(valued)) result = collection.united(result, ofValued(valued));
    if (emptyPasses) {
        const NodeSet full = collection.leading(simple, Axis::child, texts);
        result = collection.united(result, collection.without(simple, full));
    }
    const NodeSet others = collection.without(containers, simple);
    return collection.isEmpty(others) ? result : collection.united(result, ofOthers(others));
}

/** The engine finds values that stand by themselves; others are looked at, of candidates only. */
template <typename Passes>
NodeSet found(const Collection &collection, const NodeSet &set, const ValuePattern &pattern,
              Passes passes, const NodeTrial &candidates = nullptr) {
    const NodeTrial ofValued = [&](const NodeSet &valued) {
        return NodeSet{collection.tree().withValue(*valued.nodes, pattern), {}};
    };
    const NodeTrial ofOthers = [&](const NodeSet &others) {
        return tried(collection, candidates ? candidates(others) : others, passes);
    };
    return split(collection, set, ofValued, ofOthers, passes(std::string_view()));
}

bool isEquality(Relation relation) {
    return relation == Relation::equal || relation == Relation::notEqual;
}

/**
 * The elements and roots of many that may have a text as their string-value: the first text below
 * such a node is it or a beginning of it, and there are no more texts below than it has bytes.
 */
NodeSet mayHaveText(const Collection &collection, const NodeSet &containers,
                    const std::string &text) {
    const NodeTest isText{.kind = NodeTest::Kind::text};
    const NodeSet texts = collection.passing(Axis::child, isText);
    NodeSet firsts = collection.none();
    for (std::size_t length = 1; length <= text.size(); ++length) {
        const ValuePattern beginning{Relation::equal, text.substr(0, length)};
        firsts.nodes = collection.tree().united(
            *firsts.nodes, *collection.tree().withValue(*texts.nodes, beginning));
    }
    const NodeSet above = collection.leading(containers, Axis::descendant, firsts);
    const Nodes nodes = collection.nodesOf(above);
    const Nodes ends = collection.ends(nodes, above);
    const Nodes all = collection.nodesOf(texts);
    Nodes left;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (placeIn(all, ends[i]) <= placeIn(all, nodes[i]) + text.size()) left.push_back(nodes[i]);
    }
    return collection.picked(above, left);
}

NodeTrial textTrial(const Collection &collection, std::size_t many, Relation relation,
                    std::string text) {
    return [&collection, many, relation, text = std::move(text)](const NodeSet &set) {
        constexpr std::size_t longest = 200;  // each byte costs a search
        const bool isSearched = relation == Relation::equal && !text.empty() &&
                                text.size() <= longest && collection.sizeOf(set) > many;
        const NodeTrial candidates = [&](const NodeSet &containers) {
            return mayHaveText(collection, containers, text);
        };
        return found(
            collection, set, {relation, text},
            [&](std::string_view value) {
                return (value == text) == (relation == Relation::equal);
            },
            isSearched ? candidates : NodeTrial());
    };
}

NodeTrial numberTrial(const Collection &collection, Relation relation, double number) {
    const auto passes = [relation, number](std::string_view value) {
        const double other = toNumber(value);
        return relation == Relation::notEqual ? other != number : holds(relation, other, number);
    };
    return [&collection, relation, number, passes](const NodeSet &set) {
        const std::string literal = toText(number);
        // What has no canonical literal, NaN and the infinities, the engine cannot compare.
        if (canonicalDecimal(literal) != number) {
            const NodeTrial each = [&](const NodeSet &nodes) {
                return tried(collection, nodes, passes);
            };
            return split(collection, set, each, each, passes(std::string_view()));
        }
        return found(collection, set, {relation, literal, true}, passes);
    };
}

/** The value join: a hash of one side is asked for the texts of the other. */
NodeTrial joinTrial(const Collection &collection, std::size_t many, Relation relation,
                    const NodeColumnPtr &other) {
    const TextSet &texts = other->textSet(0);
    if (texts.empty()) return [&collection](const NodeSet &) { return collection.none(); };
    if (relation == Relation::equal) {
        return [&collection, other, &texts](const NodeSet &set) {
            const NodeTrial lookUp = [&](const NodeSet &nodes) {
                return tried(collection, nodes,
                             [&texts](std::string_view value) { return texts.contains(value); });
            };
            return split(collection, set, lookUp, lookUp, texts.contains(std::string_view()));
        };
    }
    if (relation == Relation::notEqual) {
        if (texts.size() == 1)
            return textTrial(collection, many, relation, std::string(*texts.begin()));
        return [](const NodeSet &set) { return set; };
    }
    const bool wantsLess = relation == Relation::less || relation == Relation::lessEqual;
    const NumberRange range = other->range(0);
    return numberTrial(collection, relation, wantsLess ? range.greatest : range.least);
}

/** What a function of two texts looks for in the first node that its first argument selects. */
struct Search {
    const Path *path;
    const std::string *text;
};

/** Whether the first node from each context is one at most, or the first of its siblings. */
bool hasFirstAmongSiblings(const Path &path) {
    if (path.steps.size() != 1) return false;
    const Step &step = path.steps[0];
    const bool isOneAttribute = step.axis == Axis::attribute &&
                                step.test.kind == NodeTest::Kind::name && !step.test.isAnyLocal;
    return step.axis == Axis::self || step.axis == Axis::child || isOneAttribute;
}

std::optional<Search> searchOf(const Call &call) {
    if (call.function != Function::contains && call.function != Function::startsWith)
        return std::nullopt;
    const Path *path = pathThatCanBeGoneBack(*call.arguments[0]);
    const auto *literal = call.arguments[1]->as<StringLiteral>();
    // Every text contains the empty one, where there is no node, too.
    if (!path || !literal || literal->text.empty() || !hasFirstAmongSiblings(*path))
        return std::nullopt;
    return Search{path, &literal->text};
}

/** The words that a text must contain to be this one, with white space normalized. */
std::vector<std::string> wordsOf(const Expression &predicate) {
    const auto *operation = predicate.as<Operation>();
    if (!operation || operation->sign != Operator::equal) return {};
    for (std::size_t side = 0; side < 2; ++side) {
        const auto *call = operation->operands[side]->as<Call>();
        const auto *literal = operation->operands[1 - side]->as<StringLiteral>();
        if (!call || !literal || call->function != Function::normalizeSpace) continue;
        if (!isContextNode(*call->arguments[0])) continue;
        std::vector<std::string> words;
        for (std::size_t at = 0; at < literal->text.size();) {
            std::size_t end = at;
            while (end < literal->text.size() && !isSpace(literal->text[end]))
                ++end;
            if (end > at) words.push_back(literal->text.substr(at, end - at));
            at = end + 1;
        }
        return words;
    }
    return {};
}

}  // namespace

std::optional<NodeSet> Evaluator::byComparison(const NodeSet &set, const Operation &operation) {
    for (std::size_t side = 0; side < 2; ++side) {
        const Path *path = pathThatCanBeGoneBack(*operation.operands[side]);
        if (!path) continue;
        const Relation relation = relationOf(operation.sign);
        const auto trial =
            trialOf(side == 0 ? relation : turned(relation), *operation.operands[1 - side]);
        if (trial) return leadingTo(set, *path, &*trial);
    }
    return byCount(set, operation);
}

/** How nodes are compared with an expression that has one value; nothing for other expressions. */
std::optional<NodeTrial> Evaluator::trialOf(Relation relation, const Expression &other) {
    if (!isSame(other) || other.is(ValueType::boolean)) return std::nullopt;
    const Node root = collection_.root(0);
    const Value value = evaluate(other, {.nodes = {&root, 1}});
    if (value.type() == ValueType::nodeSet)
        return joinTrial(collection_, limits_.many, relation, value.sharedNodes());
    if (value.type() == ValueType::string && isEquality(relation))
        return textTrial(collection_, limits_.many, relation, std::string(value.text(0)));
    return numberTrial(collection_, relation, value.asNumbers().number(0));
}

std::optional<NodeSet> Evaluator::bySearch(const NodeSet &set, const Call &call) {
    const auto search = searchOf(call);
    if (!search) return std::nullopt;
    const std::string &text = *search->text;
    const bool isPrefix = call.function == Function::startsWith;
    const NodeTrial ofValued = [&](const NodeSet &valued) {
        return NodeSet{collection_.tree().withValue(*valued.nodes, {Relation::contains, text}), {}};
    };
    const NodeTrial ofOthers = [&](const NodeSet &others) {
        return containing(collection_, others, text, limits_.many);
    };
    const bool isOfChildren = search->path->steps[0].axis == Axis::child;
    const NodeTrial trial = [&](const NodeSet &reached) {
        const NodeSet firsts =
            isOfChildren ? collection_.atPosition(reached, Relation::equal, 1) : reached;
        const NodeSet holding = split(collection_, firsts, ofValued, ofOthers, false);
        if (!isPrefix) return holding;
        return tried(collection_, holding,
                     [&](std::string_view value) { return value.starts_with(text); });
    };
    return leadingTo(set, *search->path, &trial);
}

/** Without nodes that an index says are none of those that a predicate lets pass. */
NodeSet Evaluator::narrowed(const NodeSet &set, const Expression &predicate) {
    const std::vector<std::string> words = wordsOf(predicate);
    if (words.empty()) return set;
    const NodeSet containers = collection_.containers(set);
    NodeSet valued = collection_.without(set, containers);
    for (const std::string &word : words)
        valued.nodes = collection_.tree().withValue(*valued.nodes, {Relation::contains, word});
    return collection_.united(containers, valued);
}

}  // namespace zdbs::xpath
