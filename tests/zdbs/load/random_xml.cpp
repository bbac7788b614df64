#include "tests/zdbs/load/random_xml.h"

#include <iterator>
#include <vector>

namespace zdbs {

namespace {

constexpr const char *prologs[] = {
    "",
    "<?xml version='1.0'?>\n",
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone='yes'?>",
    "\n<!-- before -->\n<?before it?>\n",
};

constexpr const char *names[] = {"a", "b", "c-d", "e.f", "_g", "n1", "\xc3\xa9l"};

constexpr const char *prefixes[] = {"p", "q", "r"};

constexpr const char *uris[] = {"urn:one", "urn:two", "http://example.org/x?y=1&amp;z"};

constexpr const char *characters[] = {
    "x",
    "some words",
    " ",
    "\n  ",
    "\t",
    "\r\n",
    "&lt;",
    "&amp;",
    "&gt;",
    "&#13;",
    "&#10;",
    "&#9;",
    "&#65;",
    "&#x1F600;",
    "\xc3\xa9",
    "\xe2\x82\xac",
    "\xf0\x9f\x98\x80",
    "]]",
    ">",
    "'",
    "&quot;",
    "&apos;",
    "--",
    "?>",
};

constexpr const char *entities[] = {"&text;", "&markup;", "&nested;", "&empty;"};

constexpr const char *dtd =
    "<!DOCTYPE a [\n"
    "<!-- not a node -->\n"
    "<!ENTITY text 'entity &#38;amp; text'>\n"
    "<!ENTITY empty ''>\n"
    "<!ENTITY markup '<b a=\"1\">in<!--side--></b>'>\n"
    "<!ENTITY nested '[&text;&markup;]'>\n"
    "<!ENTITY % later \"<!ATTLIST b late CDATA 'too late'>\">\n"
    "%later;\n"
    "<!ATTLIST a dflt CDATA 'by &#60; default' fix CDATA #FIXED 'fixed' none CDATA #IMPLIED>\n"
    "<!ATTLIST b tokens NMTOKENS 'x  y'>\n"
    "<?not a-node?>\n"
    "]>\n";

class Maker {
    template <typename Range>
    auto pick(const Range &range) {
        return *(std::begin(range) + static_cast<std::ptrdiff_t>(below(std::size(range))));
    }

public:
    explicit Maker(std::mt19937 &random) : random_(random) {}

    std::string make(std::size_t size) {
        text_ = pick(prologs);
        hasDtd_ = below(2) == 0;
        if (hasDtd_) text_ += dtd;
        startElement();
        for (; size > 0; --size)
            step();
        while (!open_.empty())
            endElement();
        if (below(3) == 0) text_ += "\n<!-- behind --><?behind?>\n";
        return std::move(text_);
    }

private:
    struct Open {
        std::string name;
        std::size_t bound;  ///< prefixes in scope outside of it
    };

    std::size_t below(std::size_t limit) { return random_() % limit; }

    void step() {
        switch (below(12)) {
            case 0:
            case 1:
            case 2:
                return startElement();
            case 3:
            case 4:
            case 5:
                return open_.size() > 1 ? endElement() : void();
            case 6:
                text_ += "<!--" + std::string(pick(names)) + "&<\r\n> -->";
                return;
            case 7:
                text_ += "<?" + std::string(pick(names)) + "  d < &amp;\r ?>";
                return;
            case 8:
                text_ += "<![CDATA[<&amp;]]" + std::string(below(2) ? " \r\n" : "") + "]]>";
                return;
            case 9:
                text_ += hasDtd_ ? pick(entities) : "&#32;";
                return;
            default:
                for (auto left = below(6); left > 0; --left)
                    addCharacters();
        }
    }

    // "]]" and ">" next to each other would end a section that was never opened.
    void addCharacters() {
        const std::string next = pick(characters);
        if (next == ">" && text_.ends_with(']')) text_ += ' ';
        text_ += next;
    }

    std::string qualifiedName() {
        const std::string name = pick(names);
        return bound_.empty() || below(2) ? name : pick(bound_) + ':' + name;
    }

    void startElement() {
        std::string declarations;
        const std::size_t outside = bound_.size();
        for (const char *prefix : prefixes) {
            if (below(6) != 0) continue;
            declarations += std::string(" xmlns:") + prefix + "='" + pick(uris) + "'";
            bound_.push_back(prefix);
        }
        if (below(5) == 0)
            declarations += std::string(" xmlns=\"") + (below(3) ? pick(uris) : "") + "\"";
        const std::string name = qualifiedName();
        text_ += "<" + name + declarations + attributes();
        const bool isEmpty = !open_.empty() && below(6) == 0;
        text_ += isEmpty ? "/>" : ">";
        if (isEmpty)
            bound_.resize(outside);
        else
            open_.push_back({name, outside});
    }

    std::string attributes() {
        std::string text;
        std::size_t number = 0;
        for (auto left = below(4); left > 0; --left) {
            const std::string prefix = bound_.empty() || below(3) ? "" : pick(bound_) + ':';
            text += " " + prefix + "at" + std::to_string(number++) + " = \"" + value() + "\"";
        }
        if (below(10) == 0) text += " xml:space='preserve' xml:lang='en'";
        return text;
    }

    std::string value() {
        std::string text;
        for (auto left = below(5); left > 0; --left)
            text += pick(characters);
        return hasDtd_ && below(5) == 0 ? text + "&text;" : text;
    }

    void endElement() {
        text_ += "</" + open_.back().name + (below(5) ? ">" : " >");
        bound_.resize(open_.back().bound);
        open_.pop_back();
    }

    std::mt19937 &random_;
    std::string text_;
    bool hasDtd_ = false;
    std::vector<Open> open_;
    std::vector<std::string> bound_;
};

}  // namespace

std::string randomXml(std::mt19937 &random, std::size_t size) {
    return Maker(random).make(size);
}

}  // namespace zdbs
