#include "prg/xml/xpath/notes/request_outline.h"

#include "prg/xml/xpath/parser/zx_scanner.h"

namespace notes {
namespace {

constexpr int deepest = 50;

/** From the beginning of one part of the request to the end of another. */
std::string_view spanning(std::string_view first, std::string_view last) {
    return {first.data(), static_cast<std::size_t>(last.data() + last.size() - first.data())};
}

/** Reads what the grammar took, so that it need not be strict. */
class Reader {
public:
    explicit Reader(const std::vector<Token> &tokens) : tokens_(tokens) {}

    std::vector<Operand> readUnion() {
        std::vector<Operand> paths;
        do
            paths.push_back(readOperand());
        while (take('|'));
        if (isTooDeep_) paths.clear();
        return paths;
    }

private:
    int code(std::size_t ahead = 0) const {
        return at_ + ahead < tokens_.size() ? tokens_[at_ + ahead].code : 0;
    }

    bool take(int wanted) {
        if (code() != wanted) return false;
        ++at_;
        return true;
    }
    /** What was read since a token, which was the next one then. */
    std::string_view since(std::size_t first) const {
        if (at_ <= first) return {};
        return spanning(tokens_[first].text, tokens_[at_ - 1].text);
    }

    Expression readExpression() {
        const std::size_t first = at_;
        Expression expression;
        expression.operands.push_back(readOperand());
        while (code() != 0 && code() != ']' && code() != ')' && code() != ',') {
            const std::size_t before = at_;
            expression.operators.push_back(tokens_[at_++]);
            expression.operands.push_back(readOperand());
            if (at_ == before) break;
        }
        expression.text = since(first);
        return expression;
    }

    Operand readOperand() {
        const std::size_t first = at_;
        Operand operand;
        if (code() == INT_CONST || code() == FLOAT_CONST || code() == STRING_CONST) {
            operand.literal = tokens_[at_++];
            readPredicates();
        } else if (take('(')) {
            operand.group = readInside(')');
        } else {
            while (startsStep(operand.steps.empty()))
                operand.steps.push_back(readStep());
        }
        operand.text = since(first);
        return operand;
    }

    bool startsStep(bool isFirst) const {
        if (code() == '/' || code() == DOUBLESLASH) return true;
        // Behind a step, a name or an asterisk is an operator.
        return isFirst && (code() == NCNAME || code() == ASTERISK || code() == AT ||
                           code() == CONTEXTNODE || code() == PARENTNODE);
    }

    Step readStep() {
        const std::size_t first = at_;
        Step step;
        if (code() == '/' || code() == DOUBLESLASH) step.separator = tokens_[at_++].text;
        const std::size_t bare = at_;
        readAxis(step);
        readTest(step);
        step.bare = since(bare);
        step.predicates = readPredicates();
        step.text = since(first);
        return step;
    }

    void readAxis(Step &step) {
        step.axis = "child";
        if (code() == NCNAME && code(1) == DOUBLECOLON) {
            step.axis = tokens_[at_].text;
            step.hasAxis = true;
            at_ += 2;
        } else if (take(AT)) {
            step.axis = "attribute";
            step.hasAxis = true;
        }
    }

    void readTest(Step &step) {
        if (code() == CONTEXTNODE || code() == PARENTNODE) {
            step.axis = code() == CONTEXTNODE ? "self" : "parent";
            step.name = tokens_[at_++].text;
            return;
        }
        if (code() == NCNAME && code(1) == ':') {
            step.prefix = tokens_[at_].text;
            at_ += 2;
        }
        if (code() != NCNAME && code() != ASTERISK) return;
        step.name = tokens_[at_++].text;
        if (!take('(')) return;
        step.isCall = true;
        step.arguments = readInside(')');
    }

    std::vector<Expression> readPredicates() {
        std::vector<Expression> predicates;
        while (take('['))
            for (Expression &predicate : readInside(']'))
                predicates.push_back(std::move(predicate));
        return predicates;
    }

    /** What stands in brackets, between commas. */
    std::vector<Expression> readInside(int closing) {
        std::vector<Expression> inside;
        if (++depth_ > deepest) {
            isTooDeep_ = true;
            at_ = tokens_.size();
        } else if (code() != closing) {
            do
                inside.push_back(readExpression());
            while (take(','));
        }
        take(closing);
        --depth_;
        return inside;
    }

    const std::vector<Token> &tokens_;
    std::size_t at_ = 0;
    int depth_ = 0;
    bool isTooDeep_ = false;
};

}  // namespace

std::vector<Operand> outlineOf(const std::vector<Token> &tokens) {
    if (tokens.empty()) return {};
    return Reader(tokens).readUnion();
}

}  // namespace notes
