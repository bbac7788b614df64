#include "zdbs/xpath/expression_text.h"

namespace zdbs::xpath {
namespace {

std::string quoted(const std::string &text) {
    const char quote = text.find('"') == std::string::npos ? '"' : '\'';
    return quote + text + quote;
}

std::string textOf(const NodeTest &test) {
    switch (test.kind) {
        case NodeTest::Kind::node:
            return "node()";
        case NodeTest::Kind::text:
            return "text()";
        case NodeTest::Kind::comment:
            return "comment()";
        case NodeTest::Kind::instruction:
            return "processing-instruction(" + (test.local.empty() ? "" : quoted(test.local)) + ")";
        case NodeTest::Kind::name:
            break;
    }
    const std::string local = test.isAnyLocal ? "*" : test.local;
    return test.uri.empty() ? local : "{" + test.uri + "}" + local;
}

std::string textOf(const std::vector<ExpressionPtr> &predicates) {
    std::string text;
    for (const ExpressionPtr &predicate : predicates)
        text += "[" + xpath::textOf(*predicate) + "]";
    return text;
}

std::string textOf(const StringLiteral &literal) {
    return quoted(literal.text);
}

std::string textOf(const NumberLiteral &literal) {
    return toText(literal.number);
}

std::string textOf(const Call &call) {
    std::string text(traitsOf(call.function).name);
    text += "(";
    for (const ExpressionPtr &argument : call.arguments)
        text += (text.back() == '(' ? "" : ", ") + xpath::textOf(*argument);
    return text + ")";
}

std::string textOf(const Operation &operation) {
    const std::string sign(nameOf(operation.sign));
    if (operation.sign == Operator::negate) return "-" + xpath::textOf(*operation.operands[0]);
    std::string text;
    for (const ExpressionPtr &operand : operation.operands) {
        if (!text.empty()) text += " " + sign + " ";
        text += xpath::textOf(*operand);
    }
    return "(" + text + ")";
}

std::string textOf(const Path &path) {
    std::string text;
    if (path.start == Path::Start::root) text = "/";
    if (path.from) text = "(" + xpath::textOf(*path.from) + ")" + textOf(path.predicates);
    for (const Step &step : path.steps) {
        if (!text.empty() && text != "/") text += "/";
        text += xpath::textOf(step);
    }
    return text;
}

}  // namespace

std::string textOf(const Step &step) {
    return std::string(nameOf(step.axis)) + "::" + textOf(step.test) + textOf(step.predicates);
}

std::string textOf(const Expression &expression) {
    return std::visit([](const auto &form) { return textOf(form); }, expression.form);
}

}  // namespace zdbs::xpath
