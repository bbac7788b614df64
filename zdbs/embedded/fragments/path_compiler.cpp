/** Steps and paths. */
#include <utility>

#include "prg/xml/xpath/parser/parsernodes/xpath_nodes.h"
#include "zdbs/embedded/fragments/predicate_compiler.h"

namespace zdbs {
namespace {

Axis axisOfStep(const XPathAxis &axis) {
    const std::optional<Axis> known = axisOf(axis.GetName());
    if (!known || *known == Axis::namespaceNode)
        throw FragmentError("the " + std::string(axis.GetName()) + " axis is not supported");
    return *known;
}

FragmentTest nameTest(const XPathNodeNameTest &test) {
    if (test.HasWildcard() || test.GetName() == nullptr) return {FragmentTest::Kind::name, {}, {}};
    CStringBuffer local(64);
    CStringBuffer space(64);
    test.GetName()->GetLocalName(local);
    test.GetName()->GetNamespace(space);
    return {FragmentTest::Kind::name, textOf(local), textOf(space)};
}

FragmentTest typeTest(const XPathNodeTypeTest &test) {
    switch (test.GetNodeType()) {
        case NTYPE_TEXT:
            return {FragmentTest::Kind::text, {}, {}};
        case NTYPE_COMMENT:
            return {FragmentTest::Kind::comment, {}, {}};
        case NTYPE_PROCESSING_INSTRUCTION:
            return {FragmentTest::Kind::instruction, {}, {}};
        case NTYPE_INVALID:
        case NTYPE_NODE:
            break;
    }
    return {FragmentTest::Kind::node, {}, {}};
}

FragmentTest testOfStep(const XPathNodeTest *test) {
    if (const auto *const name = dynamic_cast<const XPathNodeNameTest *>(test))
        return nameTest(*name);
    if (const auto *const type = dynamic_cast<const XPathNodeTypeTest *>(test))
        return typeTest(*type);
    if (const auto *const function = dynamic_cast<const XPathFunction *>(test)) {
        CStringBuffer name(64);
        function->GetName(name);
        throw FragmentError("the function \"" + textOf(name) + "\" cannot be used here");
    }
    return {FragmentTest::Kind::name, {}, {}};
}

FragmentStep compileStep(const XPathLocationStep *step, int depth) {
    const auto *const axisStep = dynamic_cast<const XPathAxisLocationStep *>(step);
    if (axisStep == nullptr) throw FragmentError("a literal is no step of a path");
    FragmentStep result{
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
bool mergesInto(const FragmentStep &first, const FragmentStep &second) {
    return first.axis == Axis::descendantOrSelf && first.test.kind == FragmentTest::Kind::node &&
           first.predicates.empty() && second.axis == Axis::child && !second.positional();
}

}  // namespace

FragmentPath compilePath(const XPathPath &path, int steps, int depth) {
    FragmentPath result;
    for (int index = 0; index < steps; ++index) {
        FragmentStep step = compileStep(path.Get(index), depth);
        if (!result.steps.empty() && mergesInto(result.steps.back(), step)) {
            step.axis = Axis::descendant;
            result.steps.back() = std::move(step);
        } else {
            result.steps.push_back(std::move(step));
        }
    }
    for (const FragmentStep &step : result.steps)
        result.positional |= step.positional();
    return result;
}

std::string textOf(const CStringBuffer &buffer) {
    const char *const text = buffer;
    return text == nullptr ? std::string()
                           : std::string(text, static_cast<std::size_t>(buffer.length()));
}

}  // namespace zdbs
