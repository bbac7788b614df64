/** Steps and paths. */
#include <utility>

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "zdbs/export/spec_predicates.h"

namespace zdbs {
namespace {

Axis axisOfStep(const XPathAxis &axis) {
    const std::optional<Axis> known = axisOf(axis.GetName());
    if (!known || *known == Axis::namespaceNode)
        throw SpecError("the " + std::string(axis.GetName()) + " axis is not supported");
    return *known;
}

NodeTest nameTest(const XPathNodeNameTest &test) {
    if (test.HasWildcard() || test.GetName() == nullptr) return {NodeTest::Kind::name};
    CStringBuffer local(64);
    CStringBuffer space(64);
    test.GetName()->GetLocalName(local);
    test.GetName()->GetNamespace(space);
    return {NodeTest::Kind::name, textOf(local), textOf(space)};
}

NodeTest typeTest(const XPathNodeTypeTest &test) {
    switch (test.GetNodeType()) {
        case NTYPE_TEXT:
            return {NodeTest::Kind::text};
        case NTYPE_COMMENT:
            return {NodeTest::Kind::comment};
        case NTYPE_PROCESSING_INSTRUCTION:
            return {NodeTest::Kind::instruction};
        case NTYPE_INVALID:
        case NTYPE_NODE:
            break;
    }
    return {NodeTest::Kind::node};
}

NodeTest testOfStep(const XPathNodeTest *test) {
    if (const auto *const name = dynamic_cast<const XPathNodeNameTest *>(test))
        return nameTest(*name);
    if (const auto *const type = dynamic_cast<const XPathNodeTypeTest *>(test))
        return typeTest(*type);
    if (const auto *const function = dynamic_cast<const XPathFunction *>(test)) {
        CStringBuffer name(64);
        function->GetName(name);
        throw SpecError("the function \"" + textOf(name) + "\" cannot be used here");
    }
    return {NodeTest::Kind::name};
}

SpecStep compileStep(const XPathLocationStep *step, int depth) {
    const auto *const axisStep = dynamic_cast<const XPathAxisLocationStep *>(step);
    if (axisStep == nullptr) throw SpecError("a literal is no step of a path");
    SpecStep result{
        axisOfStep(*axisStep->GetAxis()), testOfStep(axisStep->GetAxis()->GetNodeTest()), {}};
    const XPathExpressionList *const predicates = axisStep->GetPredicates();
    for (int index = 0; predicates != nullptr && index < predicates->GetSize(); ++index) {
        const auto *const predicate = dynamic_cast<const XPathPredicate *>(predicates->Get(index));
        result.predicates.push_back(
            compilePredicate(predicate == nullptr ? nullptr : predicate->GetExpression(), depth));
    }
    return result;
}

/**
 * descendant-or-self::node()/child::x is descendant::x, which needs no list of all
 * nodes. The law ends at positions: they count among siblings in the first form.
 */
bool mergesInto(const SpecStep &first, const SpecStep &second) {
    return first.axis == Axis::descendantOrSelf && first.test.kind == NodeTest::Kind::node &&
           first.predicates.empty() && second.axis == Axis::child && !second.isPositional();
}

}  // namespace

SpecPath compilePath(const XPathPath &path, int steps, int depth) {
    SpecPath result;
    for (int index = 0; index < steps; ++index) {
        SpecStep step = compileStep(path.Get(index), depth);
        if (!result.steps.empty() && mergesInto(result.steps.back(), step)) {
            step.axis = Axis::descendant;
            result.steps.back() = std::move(step);
        } else {
            result.steps.push_back(std::move(step));
        }
    }
    return result;
}

std::string textOf(const CStringBuffer &buffer) {
    const char *const text = buffer;
    return text == nullptr ? std::string()
                           : std::string(text, static_cast<std::size_t>(buffer.length()));
}

}  // namespace zdbs
