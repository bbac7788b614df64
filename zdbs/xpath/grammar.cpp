#include "zdbs/xpath/grammar.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "zdbs/base/xml_namespace.h"
#include "zdbs/xpath/request_error.h"
#include "zdbs/xpath/scanner.h"

namespace zdbs::xpath {
namespace {

Step everyNode(Axis axis) {
    return {axis, {}, {}};
}

/** Operators of two operands, the loosest level first; those of one level group to the left. */
constexpr std::array<std::array<Operator, 4>, 4> levels{{
    {Operator::equal, Operator::notEqual, Operator::equal, Operator::notEqual},
    {Operator::lessEqual, Operator::greaterEqual, Operator::less, Operator::greater},
    {Operator::add, Operator::subtract, Operator::add, Operator::subtract},
    {Operator::multiply, Operator::divide, Operator::modulo, Operator::multiply},
}};

class Parser {
public:
    Parser(std::string_view request, const Surroundings &surroundings)
        : request_(request), surroundings_(surroundings), tokens_(scan(request)) {}

    ExpressionPtr whole() {
        ExpressionPtr result = expression();
        if (next().kind != TokenKind::end) expected("an operator or the end");
        return result;
    }

private:
    using Operands = std::vector<ExpressionPtr>;

    /** Counts how deep the parser is in itself, before the traits of a tree can tell. */
    class Level {
    public:
        explicit Level(Parser &parser) : parser_(parser) {
            if (++parser_.depth_ > deepestExpression) parser_.failTooDeep();
        }
        ~Level() { --parser_.depth_; }
        Level(const Level &) = delete;
        Level &operator=(const Level &) = delete;

    private:
        Parser &parser_;
    };

    const Token &next() const { return tokens_[at_]; }
    bool isNext(std::string_view sign) const { return next().is(sign); }

    const Token &take() { return tokens_[at_++]; }

    bool takeIf(std::string_view sign) {
        if (!isNext(sign)) return false;
        ++at_;
        return true;
    }

    void require(std::string_view sign) {
        if (!takeIf(sign)) expected(sign);
    }

    [[noreturn]] void fail(std::size_t offset, const std::string &what) const {
        throw RequestError(request_, offset, what);
    }

    [[noreturn]] void expected(std::string_view what) const {
        const Token &found = next();
        const std::string shown =
            found.kind == TokenKind::end
                ? "the end"
                : std::string(
                      request_.substr(found.offset, std::max<std::size_t>(1, found.text.size())));
        fail(found.offset, "expected " + std::string(what) + ", found " + shown);
    }

    [[noreturn]] void failTooDeep() const {
        fail(next().offset, "expressions are nested in more than " +
                                std::to_string(deepestExpression) + " levels");
    }

    ExpressionPtr make(Expression::Form form, std::size_t offset) const {
        ExpressionPtr made = makeExpression(std::move(form), offset);
        if (made->traits.depth > deepestExpression) failTooDeep();
        return made;
    }

    void requireNodes(const Expression &expression, std::string_view why) const {
        if (!expression.is(ValueType::nodeSet))
            fail(expression.offset, std::string(why) + " takes nodes, and this selects none");
    }

    // Expr ::= OrExpr
    // OrExpr ::= AndExpr ('or' AndExpr)*
    ExpressionPtr expression() {
        const Level level(*this);
        return joined(Operator::logicalOr, &Parser::andExpression);
    }

    // AndExpr ::= EqualityExpr ('and' EqualityExpr)*
    ExpressionPtr andExpression() {
        return joined(Operator::logicalAnd, &Parser::equalityExpression);
    }

    ExpressionPtr equalityExpression() { return binary(0); }

    /** Any number of operands of an operator that may be taken together. */
    ExpressionPtr joined(Operator sign, ExpressionPtr (Parser::*operand)()) {
        const std::size_t offset = next().offset;
        Operands operands;
        do
            operands.push_back((this->*operand)());
        while (takeIf(nameOf(sign)));
        if (operands.size() == 1) return std::move(operands.front());
        return make(Operation{sign, std::move(operands)}, offset);
    }

    // EqualityExpr ::= RelationalExpr (('=' | '!=') RelationalExpr)*
    // RelationalExpr ::= AdditiveExpr (('<' | '>' | '<=' | '>=') AdditiveExpr)*
    // AdditiveExpr ::= MultiplicativeExpr (('+' | '-') MultiplicativeExpr)*
    // MultiplicativeExpr ::= UnaryExpr (('*' | 'div' | 'mod') UnaryExpr)*
    ExpressionPtr binary(std::size_t level) {
        if (level == levels.size()) return unaryExpression();
        const std::size_t offset = next().offset;
        ExpressionPtr left = binary(level + 1);
        for (const Operator *sign = takeOperator(level); sign; sign = takeOperator(level)) {
            Operands operands;
            operands.push_back(std::move(left));
            operands.push_back(binary(level + 1));
            left = make(Operation{*sign, std::move(operands)}, offset);
        }
        return left;
    }

    const Operator *takeOperator(std::size_t level) {
        const auto &signs = levels[level];
        const auto *const found = std::find_if(
            signs.begin(), signs.end(), [this](Operator sign) { return isNext(nameOf(sign)); });
        if (found == signs.end()) return nullptr;
        ++at_;
        return found;
    }

    // UnaryExpr ::= '-'* UnionExpr
    ExpressionPtr unaryExpression() {
        const std::size_t offset = next().offset;
        std::size_t signs = 0;
        while (takeIf("-"))
            ++signs;
        ExpressionPtr result = unionExpression();
        // Two of them still make a number, and nothing else.
        for (std::size_t left = signs > 2 ? 2 - signs % 2 : signs; left > 0; --left) {
            Operands operands;
            operands.push_back(std::move(result));
            result = make(Operation{Operator::negate, std::move(operands)}, offset);
        }
        return result;
    }

    // UnionExpr ::= PathExpr ('|' PathExpr)*
    ExpressionPtr unionExpression() {
        ExpressionPtr result = joined(Operator::unite, &Parser::pathExpression);
        if (const auto *operation = result->as<Operation>();
            operation && operation->sign == Operator::unite) {
            for (const ExpressionPtr &operand : operation->operands)
                requireNodes(*operand, "|");
        }
        return result;
    }

    // PathExpr ::= LocationPath | FilterExpr (('/' | '//') RelativeLocationPath)?
    ExpressionPtr pathExpression() {
        if (beginsPrimary()) return filterExpression();
        const std::size_t offset = next().offset;
        Path path;
        if (isNext("/") || isNext("//")) path.start = Path::Start::root;
        if (isNext("//")) {
            steps(path);
        } else if (takeIf("/")) {
            if (beginsStep()) relativePath(path);
        } else {
            if (!beginsStep()) expected("an expression");
            relativePath(path);
        }
        return make(std::move(path), offset);
    }

    bool beginsPrimary() const {
        switch (next().kind) {
            case TokenKind::literal:
            case TokenKind::number:
            case TokenKind::variable:
            case TokenKind::function:
                return true;
            case TokenKind::sign:
                return isNext("(");
            case TokenKind::end:
            case TokenKind::nodeType:
            case TokenKind::axis:
            case TokenKind::nameTest:
            case TokenKind::word:
                break;
        }
        return false;
    }

    bool beginsStep() const {
        const TokenKind kind = next().kind;
        return kind == TokenKind::axis || kind == TokenKind::nameTest ||
               kind == TokenKind::nodeType || isNext(".") || isNext("..") || isNext("@");
    }

    // FilterExpr ::= PrimaryExpr Predicate*
    ExpressionPtr filterExpression() {
        const std::size_t offset = next().offset;
        ExpressionPtr from = primaryExpression();
        if (!isNext("[") && !isNext("/") && !isNext("//")) return from;
        requireNodes(*from, isNext("[") ? "a predicate" : "a path");
        Path path;
        path.start = Path::Start::expression;
        path.from = std::move(from);
        path.predicates = predicates();
        if (isNext("/") || isNext("//")) steps(path);
        return make(std::move(path), offset);
    }

    // PrimaryExpr ::= VariableReference | '(' Expr ')' | Literal | Number | FunctionCall
    ExpressionPtr primaryExpression() {
        const Token &first = take();
        if (first.kind == TokenKind::literal)
            return make(StringLiteral{std::string(first.text)}, first.offset);
        if (first.kind == TokenKind::number)
            return make(NumberLiteral{toNumber(first.text)}, first.offset);
        if (first.kind == TokenKind::variable) return variable(first);
        if (first.kind == TokenKind::function) return functionCall(first);
        ExpressionPtr inner = expression();
        require(")");
        return inner;
    }

    ExpressionPtr variable(const Token &name) const {
        const auto found = surroundings_.variables.find(name.text);
        if (found == surroundings_.variables.end())
            fail(name.offset, "there is no variable $" + std::string(name.text));
        if (const auto *text = std::get_if<std::string>(&found->second))
            return make(StringLiteral{*text}, name.offset);
        if (const auto *number = std::get_if<double>(&found->second))
            return make(NumberLiteral{*number}, name.offset);
        const bool truth = std::get<bool>(found->second);
        return make(Call{truth ? Function::logicalTrue : Function::logicalFalse, {}}, name.offset);
    }

    // FunctionCall ::= FunctionName '(' (Argument (',' Argument)*)? ')'
    ExpressionPtr functionCall(const Token &name) {
        const FunctionTraits *function = name.prefix.empty() ? functionNamed(name.text) : nullptr;
        if (!function)
            fail(name.offset, "there is no function " + std::string(name.prefix) +
                                  (name.prefix.empty() ? "" : ":") + std::string(name.text));
        require("(");
        Operands arguments;
        if (!isNext(")")) {
            do
                arguments.push_back(expression());
            while (takeIf(","));
        }
        if (!isNext(")")) expected("a comma or )");
        checkCount(*function, arguments.size(), name.offset);
        ++at_;
        if (arguments.empty() && function->onContext) arguments.push_back(contextNode(name.offset));
        checkArguments(*function, arguments);
        return make(Call{function->function, std::move(arguments)}, name.offset);
    }

    ExpressionPtr contextNode(std::size_t offset) const {
        Path path;
        path.steps.push_back(everyNode(Axis::self));
        return make(std::move(path), offset);
    }

    void checkCount(const FunctionTraits &function, std::size_t count, std::size_t offset) const {
        if (count >= function.least && count <= function.most) return;
        std::string takes = std::to_string(function.least);
        if (function.most == unlimited)
            takes += " or more";
        else if (function.most > function.least)
            takes += " to " + std::to_string(function.most);
        fail(offset, std::string(function.name) + "() takes " + takes +
                         (takes == "1" ? " argument, not " : " arguments, not ") +
                         std::to_string(count));
    }

    void checkArguments(const FunctionTraits &function, const Operands &arguments) const {
        if (!function.isConverted || function.argument != ValueType::nodeSet) return;
        for (const ExpressionPtr &argument : arguments)
            requireNodes(*argument, std::string(function.name) + "()");
    }

    // RelativeLocationPath ::= Step (('/' | '//') Step)*
    void relativePath(Path &path) {
        step(path);
        if (isNext("/") || isNext("//")) steps(path);
    }

    void steps(Path &path) {
        while (isNext("/") || isNext("//")) {
            if (take().text == "//") add(everyNode(Axis::descendantOrSelf), path);
            if (!beginsStep()) expected("a step");
            step(path);
        }
    }

    // Step ::= AxisSpecifier NodeTest Predicate* | '.' | '..'
    void step(Path &path) {
        const Level level(*this);
        if (takeIf(".")) return add(everyNode(Axis::self), path);
        if (takeIf("..")) return add(everyNode(Axis::parent), path);
        Step step;
        step.axis = axis();
        step.offset = next().offset;
        step.test = nodeTest();
        step.predicates = predicates();
        add(std::move(step), path);
    }

    /**
     * self::node()/x and x/self::node() select what x selects. descendant-or-self::node()/child::x
     * selects what descendant::x selects, as long as no predicate counts positions, which it does
     * for each parent.
     */
    static void add(Step step, Path &path) {
        std::vector<Step> &steps = path.steps;
        const bool isFirst = steps.empty() && path.start == Path::Start::context;
        if (isContextNode(step) && !isFirst) return;
        if (!steps.empty() && isContextNode(steps.back())) steps.pop_back();
        const bool isDeep = !steps.empty() && steps.back().axis == Axis::descendantOrSelf &&
                            steps.back().test.kind == NodeTest::Kind::node &&
                            steps.back().predicates.empty();
        if (isDeep && step.axis == Axis::child && !isPositional(step)) {
            step.axis = Axis::descendant;
            steps.pop_back();
        }
        steps.push_back(std::move(step));
    }

    // AxisSpecifier ::= AxisName '::' | '@'?
    Axis axis() {
        if (takeIf("@")) return Axis::attribute;
        if (next().kind != TokenKind::axis) return Axis::child;
        const Token &name = take();
        const auto *const found =
            std::find_if(axisTable.begin(), axisTable.end(),
                         [&name](const AxisTraits &one) { return one.name == name.text; });
        if (found == axisTable.end())
            fail(name.offset, "there is no axis " + std::string(name.text));
        if (found->axis == Axis::namespaceNode)
            fail(name.offset,
                 "the namespace axis is not kept: a database has no namespace nodes; "
                 "namespace-uri() tells the namespace of a node");
        require("::");
        return found->axis;
    }

    // NodeTest ::= NameTest | NodeType '(' ')' | 'processing-instruction' '(' Literal ')'
    NodeTest nodeTest() {
        if (next().kind == TokenKind::nameTest) return nameTest(take());
        if (next().kind != TokenKind::nodeType) expected("a name, * or a node type");
        const Token &type = take();
        require("(");
        NodeTest test = testOfType(type.text);
        if (test.kind == NodeTest::Kind::instruction && next().kind == TokenKind::literal)
            test.local = take().text;
        require(")");
        return test;
    }

    static NodeTest testOfType(std::string_view type) {
        if (type == "node") return {};
        if (type == "text") return {.kind = NodeTest::Kind::text};
        if (type == "comment") return {.kind = NodeTest::Kind::comment};
        return {.kind = NodeTest::Kind::instruction};
    }

    // NameTest ::= '*' | NCName ':' '*' | QName
    NodeTest nameTest(const Token &name) const {
        NodeTest test{.kind = NodeTest::Kind::name};
        test.isAnyLocal = name.text == "*";
        test.isAnySpace = test.isAnyLocal && name.prefix.empty();
        if (!test.isAnyLocal) test.local = name.text;
        if (!name.prefix.empty()) test.uri = namespaceOf(name);
        return test;
    }

    std::string namespaceOf(const Token &name) const {
        if (name.prefix == "xml") return std::string(xmlNamespace);
        const auto found = surroundings_.namespaces.find(name.prefix);
        if (found == surroundings_.namespaces.end())
            fail(name.offset,
                 "the prefix " + std::string(name.prefix) + " is not declared for the request");
        return found->second;
    }

    // Predicate ::= '[' Expr ']'
    Operands predicates() {
        Operands result;
        while (takeIf("[")) {
            result.push_back(expression());
            if (!takeIf("]")) expected("an operator or ]");
        }
        return result;
    }

    std::string_view request_;
    const Surroundings &surroundings_;
    std::vector<Token> tokens_;
    std::size_t at_ = 0;
    std::size_t depth_ = 0;
};

}  // namespace

ExpressionPtr parse(std::string_view request, const Surroundings &surroundings) {
    return Parser(request, surroundings).whole();
}

}  // namespace zdbs::xpath
