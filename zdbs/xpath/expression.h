/** An expression as a tree. */
#ifndef ZDBS_XPATH_EXPRESSION_H
#define ZDBS_XPATH_EXPRESSION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "zdbs/base/axis.h"
#include "zdbs/xpath/functions.h"
#include "zdbs/xpath/scalar.h"

namespace zdbs::xpath {

struct Expression;
using ExpressionPtr = std::unique_ptr<const Expression>;

/** Which nodes of an axis a step takes. */
struct NodeTest {
    enum class Kind : std::uint8_t { node, name, text, comment, instruction };

    Kind kind = Kind::node;
    bool isAnyLocal = false;  ///< of a name: *, or prefix:*
    bool isAnySpace = false;  ///< of a name: *
    std::string local = {};   ///< of a name; of an instruction the target, empty for every one
    std::string uri = {};     ///< of a name; empty is no namespace
};

struct Step {
    Axis axis = Axis::child;
    NodeTest test;
    std::vector<ExpressionPtr> predicates;
    std::size_t offset = 0;  ///< of the node test in the request
};

struct StringLiteral {
    std::string text;
};

struct NumberLiteral {
    double number = 0;
};

struct Call {
    Function function;
    std::vector<ExpressionPtr> arguments;
};

enum class Operator : std::uint8_t {
    logicalOr,
    logicalAnd,
    equal,
    notEqual,
    less,
    lessEqual,
    greater,
    greaterEqual,
    add,
    subtract,
    multiply,
    divide,
    modulo,
    negate,
    unite,
};

/** Two operands; one to negate; two or more of or, and, |. */
struct Operation {
    Operator sign;
    std::vector<ExpressionPtr> operands;
};

/** Steps from the context node, from the root of its document, or from what `from` selects. */
struct Path {
    enum class Start : std::uint8_t { context, root, expression };

    Start start = Start::context;
    ExpressionPtr from = nullptr;
    std::vector<ExpressionPtr> predicates = {};  ///< of `from`: positions count in document order
    std::vector<Step> steps = {};
};

/** What is known of an expression without a document. */
struct Traits {
    ValueType type = ValueType::boolean;
    bool asksContext = false;    ///< its value depends on the context node, not only its document
    bool asksPosition = false;   ///< on position() or last()
    bool leavesSubtree = false;  ///< on nodes that are not below the context node, nor itself
    std::size_t depth = 1;       ///< levels of expressions
};

struct Expression {
    using Form = std::variant<StringLiteral, NumberLiteral, Call, Operation, Path>;

    Form form;
    Traits traits;
    std::size_t offset = 0;  ///< in the request

    template <typename T>
    const T *as() const {
        return std::get_if<T>(&form);
    }

    bool is(ValueType type) const { return traits.type == type; }
};

/** Levels of expressions in one another. */
constexpr std::size_t deepestExpression = 200;

/** Finds out the traits. */
ExpressionPtr makeExpression(Expression::Form form, std::size_t offset);

/** Whether the value of a predicate depends on the position of the node. */
inline bool isPositional(const Expression &predicate) {
    return predicate.is(ValueType::number) || predicate.traits.asksPosition;
}

/** Whether any predicate of a step does. */
bool isPositional(const Step &step);

/** Whether it is `.`, without predicates. */
bool isContextNode(const Step &step);

/** Whether it is `.` and nothing else. */
bool isContextNode(const Expression &expression);

/** The operator as it is written. */
std::string_view nameOf(Operator sign);

/** Whether it is one of the six comparisons. */
bool isComparison(Operator sign);

}  // namespace zdbs::xpath

#endif
