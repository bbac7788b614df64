#include "zdbs/xpath/scanner.h"

#include <algorithm>
#include <array>
#include <string>

#include "zdbs/base/utf8.h"
#include "zdbs/xpath/characters.h"
#include "zdbs/xpath/request_error.h"

namespace zdbs::xpath {
namespace {

/** Longer ones stand before those that they begin with. */
constexpr std::array<std::string_view, 23> signs{"::", "..", "//", "!=", "<=", ">=", "(", ")",
                                                 "[",  "]",  ".",  "@",  ",",  "/",  "|", "+",
                                                 "-",  "=",  "<",  ">",  "*",  "$",  ":"};
constexpr std::array<std::string_view, 4> operatorNames{"and", "or", "div", "mod"};
constexpr std::array<std::string_view, 4> nodeTypes{"node", "text", "comment",
                                                    "processing-instruction"};

/** Signs behind which no operator can stand, other than operators. */
constexpr std::array<std::string_view, 5> openers{"@", "::", "(", "[", ","};
constexpr std::array<std::string_view, 12> operatorSigns{"/", "//", "|",  "+",  "-",  "=",
                                                         "<", ">",  "<=", ">=", "!=", "*"};

template <std::size_t Size>
bool has(const std::array<std::string_view, Size> &list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

class Scanner {
public:
    explicit Scanner(std::string_view request) : text_(request) {}

    std::vector<Token> all() {
        for (skipSpace(); at_ < text_.size(); skipSpace())
            scanOne();
        add(TokenKind::end, text_.substr(at_), at_);
        return std::move(tokens_);
    }

private:
    void skipSpace() {
        while (at_ < text_.size() && isSpace(text_[at_]))
            ++at_;
    }

    void scanOne() {
        const char first = text_[at_];
        if (first == '"' || first == '\'') return scanLiteral(first);
        if (isDigit(first) || (first == '.' && at_ + 1 < text_.size() && isDigit(text_[at_ + 1])))
            return scanNumber();
        if (first == '$') return scanVariable();
        if (nameLength(text_.substr(at_)) > 0) return scanName();
        scanSign();
    }

    void scanLiteral(char quote) {
        const std::size_t end = text_.find(quote, at_ + 1);
        if (end == std::string_view::npos) fail(at_, "this text has no quote at its end");
        add(TokenKind::literal, text_.substr(at_ + 1, end - at_ - 1), at_);
        at_ = end + 1;
    }

    // Number ::= Digits ('.' Digits?)? | '.' Digits
    void scanNumber() {
        const std::size_t begin = at_;
        skipDigits();
        if (at_ < text_.size() && text_[at_] == '.') ++at_;
        skipDigits();
        add(TokenKind::number, text_.substr(begin, at_ - begin), begin);
    }

    void skipDigits() {
        while (at_ < text_.size() && isDigit(text_[at_]))
            ++at_;
    }

    // VariableReference ::= '$' QName
    void scanVariable() {
        const std::size_t begin = at_++;
        const std::size_t length = nameLength(text_.substr(at_));
        if (length == 0) fail(at_, "expected the name of a variable behind $");
        at_ += length;
        takeLocalPart();
        add(TokenKind::variable, text_.substr(begin + 1, at_ - begin - 1), begin);
    }

    /** Goes past ":name" behind a name; not past "::". */
    bool takeLocalPart() {
        if (at_ >= text_.size() || text_[at_] != ':') return false;
        const std::size_t length = nameLength(text_.substr(at_ + 1));
        if (length == 0) return false;
        at_ += 1 + length;
        return true;
    }

    /**
     * "If there is a preceding token and it is none of @, ::, (, [, , or an operator, then a * is
     * a MultiplyOperator and an NCName is an OperatorName."
     */
    bool isOperatorDue() const {
        if (tokens_.empty()) return false;
        const Token &last = tokens_.back();
        if (last.kind == TokenKind::word) return false;
        return last.kind != TokenKind::sign ||
               (!has(openers, last.text) && !has(operatorSigns, last.text));
    }

    void scanName() {
        const std::size_t begin = at_;
        const std::size_t length = nameLength(text_.substr(at_));
        at_ += length;
        const std::string_view name = text_.substr(begin, length);
        if (isOperatorDue()) {
            if (!has(operatorNames, name))
                fail(begin, "expected an operator, found " + std::string(name));
            return add(TokenKind::word, name, begin);
        }
        if (takeLocalPart()) {
            addName(isBefore("(") ? TokenKind::function : TokenKind::nameTest, begin, length);
        } else if (text_.substr(at_).starts_with(":*")) {
            at_ += 2;
            addName(TokenKind::nameTest, begin, length);
        } else {
            add(kindOf(name), name, begin);
        }
    }

    void addName(TokenKind kind, std::size_t begin, std::size_t prefixLength) {
        const std::size_t local = begin + prefixLength + 1;
        add(kind, text_.substr(local, at_ - local), begin);
        tokens_.back().prefix = text_.substr(begin, prefixLength);
    }

    TokenKind kindOf(std::string_view name) const {
        if (isBefore("(")) return has(nodeTypes, name) ? TokenKind::nodeType : TokenKind::function;
        return isBefore("::") ? TokenKind::axis : TokenKind::nameTest;
    }

    /** Whether that stands next, white space aside. */
    bool isBefore(std::string_view sign) const {
        std::size_t place = at_;
        while (place < text_.size() && isSpace(text_[place]))
            ++place;
        return text_.substr(place).starts_with(sign);
    }

    void scanSign() {
        const std::string_view rest = text_.substr(at_);
        const auto *const sign =
            std::find_if(signs.begin(), signs.end(),
                         [rest](std::string_view one) { return rest.starts_with(one); });
        if (sign == signs.end()) fail(at_, "no expression has the character " + shown(rest));
        if (*sign == ":") fail(at_, "a colon stands within a name only, or twice behind an axis");
        const bool isName = *sign == "*" && !isOperatorDue();
        add(isName ? TokenKind::nameTest : TokenKind::sign, rest.substr(0, sign->size()), at_);
        at_ += sign->size();
    }

    static std::string shown(std::string_view rest) {
        return std::string(rest.substr(0, characterAt(rest, 0).bytes));
    }

    void add(TokenKind kind, std::string_view text, std::size_t offset) {
        tokens_.push_back({kind, text, {}, offset});
    }

    [[noreturn]] void fail(std::size_t offset, const std::string &what) const {
        throw RequestError(text_, offset, what);
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::vector<Token> tokens_;
};

}  // namespace

std::vector<Token> scan(std::string_view request) {
    if (request.size() > longestExpression)
        throw RequestError(
            {}, 0, "the expression is longer than " + std::to_string(longestExpression) + " bytes");
    if (!isUtf8(request)) throw RequestError({}, 0, "the expression is not UTF-8");
    return Scanner(request).all();
}

}  // namespace zdbs::xpath
