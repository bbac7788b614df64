#include "zdbs/export/spec_predicates.h"

#include <cassert>
#include <cstdlib>
#include <utility>

#include "foundation/keyword.h"
#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "prg/xml/xpath/processor/messages.h"
#include "zdbs/base/number.h"

namespace zdbs {
namespace {

namespace message = translation_message;

using Kind = SpecPredicate::Kind;

/** REQUIRES: the operator compares. */
Relation relationOf(EPairOperator op) {
    // From PAIRSEP_EQ to PAIRSEP_GE.
    constexpr Relation relations[] = {Relation::equal, Relation::notEqual,  Relation::greater,
                                      Relation::less,  Relation::lessEqual, Relation::greaterEqual};
    assert(__is_comparison_op(op));
    return relations[op - PAIRSEP_EQ];
}

/** The literal of a comparison, bare or wrapped as the grammar wraps it; null for all else. */
const XPathScalar *scalarOf(const XPathExpression *expression) {
    if (const auto *const filter = dynamic_cast<const XPathFilterExpression *>(expression))
        expression = filter->GetExpression();
    return dynamic_cast<const XPathScalar *>(expression);
}

const XPathAxisLocationStep *lastStepOf(const XPathPath *path) {
    if (path == nullptr || path->GetSize() == 0) return nullptr;
    return dynamic_cast<const XPathAxisLocationStep *>(path->Get(path->GetSize() - 1));
}

std::string literalText(const XPathScalar &scalar) {
    CStringBuffer text(256);
    scalar.ToString(text, false, false, false);
    return textOf(text);
}

bool isTypeTest(const XPathAxisLocationStep &step, ENodeType type) {
    const auto *const test = dynamic_cast<const XPathNodeTypeTest *>(step.GetAxis()->GetNodeTest());
    return test != nullptr && test->GetNodeType() == type;
}

std::string functionName(const XPathFunction &function) {
    CStringBuffer name(64);
    function.GetName(name);
    return textOf(name);
}

/** The path up to its last step and, for that one, all text below. */
SpecPath pathToTextBelow(const XPathPath &path, int depth) {
    SpecPath result = compilePath(path, path.GetSize(), depth);
    SpecStep &last = result.steps.back();
    last.axis = Axis::descendant;
    last.test = {NodeTest::Kind::text};
    return result;
}

SpecPredicate pathPredicate(SpecPath path) {
    SpecPredicate result;
    result.kind = Kind::path;
    result.path = std::move(path);
    return result;
}

/** What the value of the compared node must satisfy. */
ValueCondition comparedValue(Relation relation, std::string literal) {
    if (!literal.empty()) return {relation, std::move(literal)};
    if (relation != Relation::notEqual && relation != Relation::greaterEqual)
        throw SpecError(message::comparedEmptyText);
    return {Relation::notEmpty, {}};
}

SpecPredicate valueComparison(const XPathPath &path, const XPathAxisLocationStep &step,
                              Relation relation, std::string literal, int depth) {
    const XPathAxis &axis = *step.GetAxis();
    const bool isText = axis.IsChild() && isTypeTest(step, NTYPE_TEXT);
    if (!isText && !axis.IsAttribute()) {
        // "." compared is no condition, in requests too.
        if (axis.IsSelf() && path.GetSize() == 1) return {};
        throw SpecError(message::comparedAxis, axis.GetName());
    }
    SpecPath compared =
        isText ? pathToTextBelow(path, depth) : compilePath(path, path.GetSize(), depth);
    compared.value = comparedValue(relation, std::move(literal));
    return pathPredicate(std::move(compared));
}

/** For last(), n stands for the n-th from the end. */
double placeOf(const std::string &literal, bool fromEnd) {
    if (literal.empty()) throw SpecError(message::emptyPosition);
    if (fromEnd) {
        const int number = std::atoi(literal.c_str());
        if (number >= 0) return -static_cast<double>(number);
    }
    const std::optional<double> number = canonicalDecimal(literal);
    if (!number) throw SpecError("\"" + literal + "\" is no position");
    return *number;
}

/** Without a path: the grammar turns [3] into a bare step that calls position(). */
SpecPredicate positionComparison(const XPathPath *path, SpecPredicate counted, int depth) {
    if (path == nullptr || path->GetSize() == 1) return counted;
    if (path->GetSize() > 2) throw SpecError("position() and last() can follow one step, not more");
    SpecPath steps = compilePath(*path, 1, depth);
    steps.steps.back().predicates.push_back(std::move(counted));
    SpecPredicate result = pathPredicate(std::move(steps));
    result.ofLast = true;
    return result;
}

SpecPredicate compileComparison(const XPathExpressionPair &pair, int depth) {
    const auto *const path = dynamic_cast<const XPathPath *>(pair.GetLeft());
    const auto *const step = path != nullptr
                                 ? lastStepOf(path)
                                 : dynamic_cast<const XPathAxisLocationStep *>(pair.GetLeft());
    const XPathScalar *const scalar = scalarOf(pair.GetRight());
    if (step == nullptr || scalar == nullptr) throw SpecError(message::noComparison);
    const Relation relation = relationOf(pair.GetOperator());
    const auto *const function =
        dynamic_cast<const XPathFunction *>(step->GetAxis()->GetNodeTest());
    if (function == nullptr) {
        if (path == nullptr) throw SpecError(message::noComparison);
        return valueComparison(*path, *step, relation, literalText(*scalar), depth);
    }
    const std::string name = functionName(*function);
    const bool isLast = equalsNoCase(name, "last");
    if (!isLast && !equalsNoCase(name, "position"))
        throw SpecError(message::comparedFunction, name);
    SpecPredicate counted;
    counted.kind = Kind::position;
    counted.relation = relation;
    counted.place = placeOf(literalText(*scalar), isLast);
    return positionComparison(path, std::move(counted), depth);
}

/** The path to the values that contains() looks at. */
SpecPath searchedPath(const XPathPath &path, const XPathAxisLocationStep &step, int depth) {
    const XPathAxis &axis = *step.GetAxis();
    const bool isText = (axis.IsChild() && isTypeTest(step, NTYPE_TEXT)) ||
                        (axis.IsSelf() && isTypeTest(step, NTYPE_NODE));
    if (!isText && !axis.IsAttribute()) throw SpecError(message::searchedStep);
    if (!isText) return compilePath(path, path.GetSize(), depth);
    SpecPath result = pathToTextBelow(path, depth);
    // As in requests, a path to searched text may start at any depth.
    SpecStep &first = result.steps.front();
    if (first.axis == Axis::child) first.axis = Axis::descendant;
    return result;
}

SpecPredicate compileContains(const XPathFunction &function, int depth) {
    const std::string name = functionName(function);
    if (!equalsNoCase(name, "contains")) throw SpecError(message::unknownFunction, name);
    const XPathExpressionList *const arguments = function.GetArgs();
    if (arguments == nullptr || arguments->GetSize() != 2) throw SpecError(message::argumentCount);
    const auto *const path = dynamic_cast<const XPathPath *>(arguments->Get(0));
    const XPathAxisLocationStep *const step = lastStepOf(path);
    const XPathScalar *const scalar = scalarOf(arguments->Get(1));
    if (step == nullptr || scalar == nullptr) {
        throw SpecError(message::argumentKinds);
    }
    SpecPath searched = searchedPath(*path, *step, depth);
    const std::string text = literalText(*scalar);
    searched.value = {text.empty() ? Relation::any : Relation::contains, text};
    return pathPredicate(std::move(searched));
}

SpecPredicate compilePair(const XPathExpressionPair &pair, int depth) {
    const bool both = pair.GetOperator() == PAIRSEP_AND;
    if (!both && pair.GetOperator() != PAIRSEP_OR) {
        if (pair.IsComparison()) return compileComparison(pair, depth);
        throw SpecError(message::noPair);
    }
    SpecPredicate result;
    result.kind = both ? Kind::both : Kind::either;
    result.sides.push_back(compilePredicate(pair.GetLeft(), depth));
    result.sides.push_back(compilePredicate(pair.GetRight(), depth));
    return result;
}

}  // namespace

SpecPredicate compilePredicate(const XPathExpression *expression, int depth) {
    if (depth >= maxPredicateDepth) throw SpecError("its predicates are nested too deep");
    if (const auto *const pair = dynamic_cast<const XPathExpressionPair *>(expression))
        return compilePair(*pair, depth + 1);
    const auto *const path = dynamic_cast<const XPathPath *>(expression);
    const XPathAxisLocationStep *const last = lastStepOf(path);
    if (last == nullptr) throw SpecError("a predicate must hold a path or a comparison");
    const auto *const function =
        dynamic_cast<const XPathFunction *>(last->GetAxis()->GetNodeTest());
    if (function != nullptr && path->GetSize() == 1) return compileContains(*function, depth + 1);
    return pathPredicate(compilePath(*path, path->GetSize(), depth + 1));
}

}  // namespace zdbs
