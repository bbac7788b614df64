#include "prg/xml/xpath/utils/vexa/request_place.h"

#include <vector>

#include "prg/xml/xpath/notes/request_tokens.h"
#include "prg/xml/xpath/parser/zx_scanner.h"

namespace {

using notes::Token;
using Kind = RequestPlace::Kind;

/** Follows the tokens of a request, and knows where in the documents it has come. */
class PlaceReader {
public:
    void read(const Token &token) {
        switch (token.code) {
            case '[':
            case '(':
                return enter(token.code);
            case ']':
            case ')':
                return leave();
            case '/':
            case DOUBLESLASH:
                separator_ = token.text;
                isBehindStep_ = false;
                return;
            case AT:
                axis_ = "attribute";
                return;
            case DOUBLECOLON:
                return takeAxis();
            case NCNAME:
            case ASTERISK:
                return isBehindStep_ ? begin() : takeName(token.text);
            case PARENTNODE:
                return takeParent();
            case CONTEXTNODE:
            case ':':
            case INT_CONST:
            case FLOAT_CONST:
            case STRING_CONST:
                isBehindStep_ = token.code != ':';
                return;
            default:
                return begin();
        }
    }

    RequestPlace place() const {
        RequestPlace place;
        place.isInPredicate = !outer_.empty();
        const std::string_view separator = separator_.empty() ? firstSeparator() : separator_;
        place.names = path_ + std::string(separator);
        if (isBehindStep_)
            place.kind = place.isInPredicate ? Kind::word : Kind::nothing;
        else if (axis_ == "attribute")
            place.kind = Kind::attribute;
        else
            place.kind = axis_.empty() ? Kind::step : Kind::element;
        if (place.kind == Kind::element && axis_ != "child") place.names = "//";
        return place;
    }

private:
    /** A request that begins without a slash is asked anywhere. */
    std::string_view firstSeparator() const { return path_.empty() ? "//" : "/"; }

    void enter(int bracket) {
        // Of a call the name was no step.
        if (bracket == '(') path_ = beforeName_;
        outer_.push_back(base_);
        base_ = path_;
        begin();
    }

    void leave() {
        path_ = base_;
        if (!outer_.empty()) {
            base_ = outer_.back();
            outer_.pop_back();
        }
        isBehindStep_ = true;
    }

    /** Of the next path. */
    void begin() {
        path_ = base_;
        separator_ = {};
        axis_ = {};
        isBehindStep_ = false;
    }

    /** The name in front was that of an axis. */
    void takeAxis() {
        axis_ = name_;
        path_ = beforeName_;
        separator_ = beforeSeparator_;
        isBehindStep_ = false;
    }

    void takeName(std::string_view name) {
        beforeName_ = path_;
        beforeSeparator_ = separator_;
        name_ = name;
        const bool isDown = axis_.empty() || axis_ == "child" || axis_ == "attribute";
        if (isDown)
            path_ += std::string(separator_.empty() ? firstSeparator() : separator_);
        else
            path_ = "//";
        path_ += name;
        endStep();
    }

    void takeParent() {
        const std::size_t slash = path_.rfind('/');
        path_ = slash == std::string::npos || slash < 2 ? "//*" : path_.substr(0, slash);
        while (path_.ends_with('/'))
            path_.pop_back();
        endStep();
    }

    void endStep() {
        separator_ = {};
        axis_ = {};
        isBehindStep_ = true;
    }

    std::string path_;
    std::string base_;
    std::vector<std::string> outer_;
    std::string_view separator_;
    std::string_view axis_;
    std::string_view name_;
    std::string beforeName_;
    std::string_view beforeSeparator_;
    bool isBehindStep_ = false;
};

bool isQuote(const Token &token) {
    return token.code == '\'' || token.code == '"' || token.code == '`';
}

bool endsAt(const Token &token, const char *end) {
    return token.text.data() + token.text.size() == end;
}

/** How many tokens the word takes that ends with the request: a name, and perhaps a prefix. */
std::size_t tokensOfWord(const std::vector<Token> &tokens, std::string_view request) {
    const char *end = request.data() + request.size();
    std::size_t count = 0;
    while (count < 3 && count < tokens.size()) {
        const Token &token = tokens[tokens.size() - 1 - count];
        const bool isName = token.code == NCNAME;
        const bool isColon = token.code == ':';
        const bool fits = isColon ? count < 2 : isName && (count == 0 || *end == ':');
        if (!fits || !endsAt(token, end)) break;
        end = token.text.data();
        ++count;
    }
    // Half a name alone: a colon needs its prefix.
    const bool isLoneColon = count == 1 && tokens.back().code == ':';
    return isLoneColon ? 0 : count;
}

}  // namespace

RequestPlace placeAtEndOf(std::string_view request) {
    std::vector<Token> tokens = notes::tokensOf(request);
    const std::size_t count = tokensOfWord(tokens, request);
    std::string_view word;
    if (count > 0) {
        const char *begin = tokens[tokens.size() - count].text.data();
        word = request.substr(static_cast<std::size_t>(begin - request.data()));
    }
    tokens.resize(tokens.size() - count);
    PlaceReader reader;
    for (const Token &token : tokens) {
        if (isQuote(token)) return {};
        reader.read(token);
    }
    RequestPlace place = reader.place();
    place.word = word;
    return place;
}
