#include "tests/answers/local_names.h"

#include <vector>

namespace answers {
namespace {

enum class Kind { name, literal, number, space, symbol };

struct Token {
    Kind kind;
    std::string text;
};

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool startsName(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           static_cast<unsigned char>(c) >= 128;
}
bool inName(char c) {
    return startsName(c) || isDigit(c) || c == '-' || c == '.';
}

/** Symbols are taken one character at a time, but for those that decide what a name is. */
Token tokenAt(std::string_view text, std::size_t at) {
    const auto take = [&](Kind kind, auto more) {
        std::size_t end = at + 1;
        while (end < text.size() && more(text[end]))
            ++end;
        return Token{kind, std::string(text.substr(at, end - at))};
    };
    const char c = text[at];
    if (c == '\'' || c == '"')
        return {Kind::literal, std::string(text.substr(at, text.find(c, at + 1) + 1 - at))};
    if (isSpace(c)) return take(Kind::space, isSpace);
    if (isDigit(c)) return take(Kind::number, [](char d) { return isDigit(d) || d == '.'; });
    if (startsName(c)) return take(Kind::name, inName);
    for (const std::string_view two : {"::", "//", "..", "<=", ">=", "!="}) {
        if (text.substr(at).starts_with(two)) return {Kind::symbol, std::string(two)};
    }
    return {Kind::symbol, std::string(1, c)};
}

std::vector<Token> tokensOf(std::string_view text) {
    std::vector<Token> tokens;
    for (std::size_t at = 0; at < text.size(); at += tokens.back().text.size())
        tokens.push_back(tokenAt(text, at));
    return tokens;
}

class Rewriter {
public:
    explicit Rewriter(std::string_view expression) : tokens_(tokensOf(expression)) {}

    std::string rewritten() {
        std::string result;
        while (at_ < tokens_.size()) {
            const Token &token = tokens_[at_];
            result += token.kind == Kind::name ? takeName() : tokens_[at_++].text;
            if (token.kind != Kind::space) afterOperand_ = endsOperand(token);
        }
        return result;
    }

private:
    static bool endsOperand(const Token &token) {
        if (token.kind != Kind::symbol) return true;
        return token.text == ")" || token.text == "]" || token.text == "." || token.text == ".." ||
               token.text == "*";
    }

    /** The token that comes next but for white space, `ahead` of them skipped. */
    std::string next(std::size_t ahead) const {
        std::size_t at = at_ + ahead;
        while (at < tokens_.size() && tokens_[at].kind == Kind::space)
            ++at;
        return at < tokens_.size() ? tokens_[at].text : std::string();
    }

    std::string takeName() {
        const std::string name = tokens_[at_].text;
        if (afterOperand_) {
            // "and" and the like; what follows is an operand again.
            tokens_[at_++].kind = Kind::symbol;
            return name;
        }
        if (next(1) == "::" || next(1) == "(") {
            ++at_;
            return name;
        }
        if (next(1) == ":") return takeQualifiedName(name);
        ++at_;
        return "*[local-name()='" + name + "']";
    }

    std::string takeQualifiedName(const std::string &prefix) {
        const std::string local = tokens_[at_ + 2].text;
        at_ += 3;
        const std::string space =
            "(starts-with(name(),'" + prefix + ":') or namespace-uri()='" + prefix + "')";
        return local == "*" ? "*[" + space + "]"
                            : "*[local-name()='" + local + "' and " + space + "]";
    }

    std::vector<Token> tokens_;
    std::size_t at_ = 0;
    bool afterOperand_ = false;
};

}  // namespace

std::string byLocalName(std::string_view expression) {
    return Rewriter(expression).rewritten();
}

std::string expressionOf(std::string_view request) {
    std::string anywhere;
    bool atStart = true;
    int depth = 0;
    for (const Token &token : tokensOf(request)) {
        if (token.kind != Kind::space) {
            if (atStart && !token.text.starts_with('/')) anywhere += "//";
            depth += token.text == "[" ? 1 : token.text == "]" ? -1 : 0;
            atStart = depth == 0 && token.text == "|";
        }
        anywhere += token.text;
    }
    return byLocalName(anywhere);
}

}  // namespace answers
