#include "tests/zdbs/admin/json_value.h"

#include <cstdlib>
#include <stdexcept>

namespace zdbs {

namespace {

class Reader {
public:
    explicit Reader(std::string_view text) : text_(text) {}

    JsonValue whole() {
        JsonValue result = value();
        if (at_ != text_.size()) fail("more behind the value");
        return result;
    }

private:
    [[noreturn]] void fail(const std::string &what) const {
        throw std::runtime_error(what + " at " + std::to_string(at_) + " of " +
                                 std::string(text_.substr(0, 200)));
    }

    char next() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    bool take(char expected) {
        if (next() != expected || at_ == text_.size()) return false;
        ++at_;
        return true;
    }

    bool takeWord(std::string_view word) {
        if (!text_.substr(at_).starts_with(word)) return false;
        at_ += word.size();
        return true;
    }

    void expect(char expected) {
        if (!take(expected)) fail(std::string("no ") + expected);
    }

    JsonValue value() {
        if (next() == '{') return object();
        if (next() == '[') return array();
        JsonValue result;
        if (takeWord("true") || takeWord("false")) {
            result.type = JsonValue::Type::boolean;
            return result;
        }
        if (next() != '"') {
            result.number = number();
            return result;
        }
        result.type = JsonValue::Type::text;
        result.text = string();
        return result;
    }

    JsonValue object() {
        JsonValue result;
        result.type = JsonValue::Type::object;
        expect('{');
        if (take('}')) return result;
        do {
            const std::string key = string();
            expect(':');
            if (!result.members.emplace(key, value()).second) fail("twice: " + key);
        } while (take(','));
        expect('}');
        return result;
    }

    JsonValue array() {
        JsonValue result;
        result.type = JsonValue::Type::array;
        expect('[');
        if (take(']')) return result;
        do {
            result.items.push_back(value());
        } while (take(','));
        expect(']');
        return result;
    }

    double number() {
        const std::size_t end = text_.find_first_not_of("0123456789.", at_);
        const std::string digits(text_.substr(at_, end - at_));
        if (digits.empty()) fail("no value");
        at_ += digits.size();
        return std::strtod(digits.c_str(), nullptr);
    }

    std::string string() {
        expect('"');
        std::string result;
        while (!take('"')) {
            if (at_ == text_.size()) fail("a string without end");
            if (static_cast<unsigned char>(next()) < 0x20) fail("a control character");
            result += take('\\') ? escaped() : text_[at_++];
        }
        return result;
    }

    char escaped() {
        const char letter = next();
        ++at_;
        switch (letter) {
            case 'n':
                return '\n';
            case 'r':
                return '\r';
            case 't':
                return '\t';
            case '"':
            case '\\':
                return letter;
            case 'u':
                return code();
            default:
                fail("an unknown escape");
        }
    }

    /** The program escapes control characters in this way, nothing else. */
    char code() {
        const std::string digits(text_.substr(at_, 4));
        at_ += 4;
        const unsigned long number = std::strtoul(digits.c_str(), nullptr, 16);
        if (digits.size() != 4 || number >= 0x20) fail("no control character");
        return static_cast<char>(number);
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

}  // namespace

JsonValue readJson(std::string_view text) {
    return Reader(text).whole();
}

JsonValue readJsonLine(std::string_view text) {
    auto values = readJsonLines(text);
    if (values.size() != 1) throw std::runtime_error("not one line");
    return values.front();
}

std::vector<JsonValue> readJsonLines(std::string_view text) {
    std::vector<JsonValue> values;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos) throw std::runtime_error("a line without end");
        values.push_back(readJson(text.substr(0, end)));
        text.remove_prefix(end + 1);
    }
    return values;
}

}  // namespace zdbs
