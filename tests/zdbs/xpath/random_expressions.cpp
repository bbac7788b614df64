#include "tests/zdbs/xpath/random_expressions.h"

namespace zdbs::testing {
namespace {

class XPathDocument {
public:
    explicit XPathDocument(unsigned seed) : random_(seed) {}

    std::string make() {
        const bool hasMore = below(3) == 0;
        if (hasMore) text_ += "<!--first-->";
        text_ += "<a xmlns:p='urn:p' xml:lang='en'>";
        content(0);
        text_ += "</a>";
        if (hasMore) text_ += "<?q last?>";
        return text_;
    }

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }

    void content(int depth) {
        const std::size_t count = below(6);
        bool afterText = false;
        for (std::size_t index = 0; index < count; ++index) {
            const std::size_t kind = below(12);
            if (kind == 0) text_ += "<!--v1-->";
            if (kind == 1) text_ += "<?p 1?>";
            if (kind >= 2 && kind < 6 && !afterText) text_ += texts[below(std::size(texts))];
            if (kind >= 6 && depth < 5) element(depth);
            afterText = kind >= 2 && kind < 6;
        }
    }

    void element(int depth) {
        if (++elements_ > 40) return;
        const std::string name = names[below(std::size(names))];
        text_ += "<" + name;
        if (below(8) == 0) text_ += " xmlns='urn:q'";
        if (below(3) == 0) text_ += " x='" + std::string(texts[below(4)]) + "'";
        if (below(4) == 0) text_ += " y='" + std::string(texts[below(4)]) + "'";
        if (below(6) == 0) text_ += " p:x='" + std::string(texts[below(4)]) + "'";
        if (below(4) == 0) text_ += " xml:id='i" + std::to_string(++ids_) + "'";
        if (below(6) == 0) text_ += below(2) == 0 ? " xml:lang='de-AT'" : " xml:lang='EN'";
        text_ += ">";
        content(depth + 1);
        text_ += "</" + name + ">";
    }

    static constexpr const char *names[] = {"a", "b", "c", "p:a", "b"};
    static constexpr const char *texts[] = {"1", "2",    "v1",       "i1 i2",   " 3 ",
                                            "x", "-1.5", "v1 x\n y", "\xC3\xA4"};

    std::mt19937 random_;
    std::string text_;
    int elements_ = 0;
    int ids_ = 0;
};

}  // namespace

Vocabulary smallVocabulary() {
    return {{"a", "b", "c", "p:a", "q:b", "q:c"},
            {"x", "y", "p:x", "xml:id", "xml:lang"},
            {"1", "2", "v1", "i1 i2", " 3 ", "x", "", "en", "i2", "\xC3\xA4"}};
}

std::string randomXPathDocument(unsigned seed) {
    return XPathDocument(seed).make();
}

std::string RandomExpressions::any() {
    mayBeAttribute_ = false;
    predicates_ = 0;
    switch (below(8)) {
        case 0:
            return number(3);
        case 1:
            return text(3);
        case 2:
            return truth(3);
        default:
            return nodes(3);
    }
}

std::string RandomExpressions::literal() {
    return "'" + one(words_.texts) + "'";
}

std::string RandomExpressions::nodes(int depth) {
    const bool outer = mayBeAttribute_;
    const std::string text = nodesOfAnyForm(depth);
    mayBeAttribute_ = outer;
    return text;
}

std::string RandomExpressions::nodesOfAnyForm(int depth) {
    if (depth == 0 || below(8) < 5) return path(depth);
    switch (below(6)) {
        case 0:
            return nodes(depth - 1) + "|" + path(depth - 1);
        case 1: {
            const std::string inner = nodes(depth - 1);
            mayBeAttribute_ = true;
            return "(" + inner + ")" + predicates(depth) + "/" + step(depth - 1);
        }
        case 2:
            // libxml2 finds nothing where a list of names begins with a blank.
            if (oneIn(2)) return "id(" + literal() + ")";
            return "id((" + nodes(depth - 1) + ")" + one({"/@*)", "/text())"});
        default: {
            const std::string inner = nodes(depth - 1);
            mayBeAttribute_ = true;
            return "(" + inner + ")[" + predicate(depth - 1) + "]";
        }
    }
}

std::string RandomExpressions::path(int depth) {
    const bool outer = mayBeAttribute_;
    std::string text = one({"", "", "/", "//", "//", ".//"});
    if (text.starts_with('/')) mayBeAttribute_ = false;
    if (text == "/" && oneIn(6)) return "(/)";  // what follows would be taken for a step
    const std::size_t steps = 1 + below(3);
    for (std::size_t i = 0; i < steps; ++i) {
        if (i > 0) text += oneIn(4) ? "//" : "/";
        text += text.ends_with("//") ? stepOfAxis(depth) : step(depth);
    }
    mayBeAttribute_ = outer;
    return text;
}

std::string RandomExpressions::step(int depth) {
    if (oneIn(10)) return ".";
    if (oneIn(10)) {
        mayBeAttribute_ = false;
        return "..";
    }
    return stepOfAxis(depth);
}

/** Predicates come behind the test, which says what their context may be. */
std::string RandomExpressions::stepOfAxis(int depth) {
    const std::string text = axisAndTest();
    return text + predicates(depth);
}

std::string RandomExpressions::axisAndTest() {
    const std::string axis =
        oneIn(2) ? one({"", "@", "child::", "descendant::"})
                 : one({"self::", "parent::", "ancestor::", "ancestor-or-self::",
                        "descendant-or-self::", "following-sibling::", "preceding-sibling::",
                        "following::", "preceding::", "attribute::"});
    if (axis == "following::" && mayBeAttribute_) return "descendant::" + nameTest(false);
    const bool isAttribute = axis == "@" || axis == "attribute::";
    const bool keeps =
        axis == "self::" || axis == "ancestor-or-self::" || axis == "descendant-or-self::";
    mayBeAttribute_ = isAttribute || (keeps && mayBeAttribute_);
    if (oneIn(3))
        return axis + one({"node()", "node()", "text()", "comment()", "processing-instruction()",
                           "processing-instruction('p')"});
    return axis + nameTest(isAttribute);
}

std::string RandomExpressions::nameTest(bool isAttribute) {
    if (oneIn(4)) return one({"*", "*", "p:*"});
    return isAttribute ? one(words_.attributes) : one(words_.elements);
}

std::string RandomExpressions::predicates(int depth) {
    std::string text;
    while (depth > 0 && oneIn(3))
        text += "[" + predicate(depth - 1) + "]";
    return text;
}

std::string RandomExpressions::predicate(int depth) {
    const bool outer = mayBeAttribute_;
    ++predicates_;
    std::string text;
    switch (below(8)) {
        case 0:
            text = one({"1", "2", "last()", "last()-1", "position()=1", "position()<3",
                        "position()!=last()", "position() mod 2=1", "last()=2"});
            break;
        case 1:
            text = number(depth);
            break;
        case 2:
            text = nodes(depth);
            break;
        case 3:
            text = value(depth);
            break;
        default:
            text = truth(depth);
            break;
    }
    --predicates_;
    mayBeAttribute_ = outer;
    return text;
}

std::string RandomExpressions::number(int depth) {
    if (depth == 0)
        return predicates_ > 0 && oneIn(2) ? one({"position()", "last()"})
                                           : one({"0", "1", "2", "3", "0.5", "-1", "1.5"});
    switch (below(10)) {
        case 0:
        case 1:
        case 2:
            return "count(" + nodes(depth - 1) + ")";
        case 3:
            return "sum(" + nodes(depth - 1) + ")";
        case 4:
            return "string-length(" + text(depth - 1) + ")";
        case 5:
            return "number(" + value(depth - 1) + ")";
        case 6:
            return one({"floor(", "ceiling(", "round("}) + number(depth - 1) + ")";
        case 7:
            return "(" + number(depth - 1) + one({" + ", " - ", " * ", " mod "}) +
                   number(depth - 1) + ")";
        case 8:
            return "(" + number(depth - 1) + " div " + one({"2", "4", "0", "-2"}) + ")";
        default:
            return "-" + number(depth - 1);
    }
}

std::string RandomExpressions::text(int depth) {
    if (depth == 0) return literal();
    switch (below(9)) {
        case 0:
            return "string(" + value(depth - 1) + ")";
        case 1:
            return one({"name(", "local-name(", "namespace-uri("}) +
                   (oneIn(3) ? "" : nodes(depth - 1)) + ")";
        case 2:
            return "concat(" + value(depth - 1) + ", " + text(depth - 1) + ")";
        case 3:
            return one({"substring-before(", "substring-after("}) + value(depth - 1) + ", " +
                   literal() + ")";
        case 4:
            return "substring(" + value(depth - 1) + ", " + number(depth - 1) +
                   (oneIn(2) ? ")" : ", " + number(depth - 1) + ")");
        case 5:
            return "normalize-space(" + (oneIn(2) ? "" : value(depth - 1)) + ")";
        case 6:
            // To libxml2 a minus sign alone is a number.
            return "translate(concat('_', " + value(depth - 1) + "), " + literal() + ", " +
                   literal() + ")";
        default:
            return literal();
    }
}

std::string RandomExpressions::value(int depth) {
    switch (below(5)) {
        case 0:
            return number(depth);
        case 1:
            return text(depth);
        case 2:
            return truth(depth);
        default:
            return nodes(depth);
    }
}

std::string RandomExpressions::comparison(int depth) {
    return value(depth - 1) + one({"=", "=", "=", "!=", "<", "<=", ">", ">="}) + value(depth - 1);
}

std::string RandomExpressions::truth(int depth) {
    if (depth == 0) return one({"true()", "false()", "lang('en')", "lang('de')"});
    switch (below(9)) {
        case 0:
            return "not(" + value(depth - 1) + ")";
        case 1:
            return "(" + truth(depth - 1) + one({" and ", " or "}) + truth(depth - 1) + ")";
        case 2:
            return one({"starts-with(", "contains("}) + value(depth - 1) + ", " + literal() + ")";
        case 3:
            return "boolean(" + value(depth - 1) + ")";
        case 4:
            return "not(" + nodes(depth - 1) + ")";
        case 5:
            return "(" + nodes(depth - 1) + one({" and ", " or "}) + nodes(depth - 1) + ")";
        default:
            return "(" + comparison(depth) + ")";
    }
}

}  // namespace zdbs::testing
