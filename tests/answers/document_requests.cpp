#include "tests/answers/document_requests.h"

#include <algorithm>
#include <array>

namespace answers {
namespace {

constexpr std::size_t one = 1;
constexpr std::size_t few = 40;
constexpr std::size_t some = 400;
constexpr std::size_t any = 0xffffffff;

/**
 * A form of a request. Marks, all of one element e and what is around it:
 * %e its name, %p its parent's, %q the one's above, %c a child's, %d a child's of that one,
 * %s a sibling's, %x any of the document; %a an attribute of it, %v the attribute's value,
 * %n a piece of that; %b and %w an attribute of the child and its value; %t a text in it, %m a
 * piece of a text; %i a number that the attribute has; %k 1 to 4.
 */
struct Form {
    const char *request;
    const char *xpath;       ///< null: the same, with // in front where no slash is
    std::size_t most = any;  ///< elements e: the engine in memory is slow where there are more
};

/** What docs/deviations.md lists is kept out, or said in XPath's words. */
constexpr Form forms[] = {
    {"%e", nullptr},
    {"//%e", nullptr},
    {"%p/%e", nullptr},
    {"//%p/%e", nullptr},
    {"//%q/%p/%e", nullptr},
    {"//%q//%e", nullptr},
    {"/*/%x", nullptr},
    {"//%q/*/%e", nullptr},
    {"//%e/*", nullptr},
    {"//%e/@*", nullptr},
    {"//%e/@%a", nullptr},
    {"@%a", nullptr},
    {"//%e/text()", nullptr},
    {"//%e//text()", nullptr, some},
    {"//%e/node()", nullptr},
    {"//%e//%x", nullptr},
    {"//%e/comment()", nullptr},
    {"//%p/comment()", nullptr},
    {"//%e/..", nullptr},
    {"//%e/parent::%p", nullptr},
    {"//%e/ancestor::*", nullptr},
    {"//%e/ancestor::%q", nullptr},
    {"//%e/ancestor::*[1]", nullptr},
    {"//%e/ancestor::*[position()=last()]", nullptr},
    {"//%c/ancestor-or-self::node()", "//%c/ancestor-or-self::node()[parent::node()]", some},
    {"//%e/descendant::%c", nullptr, some},
    {"//%e/descendant::*[%k]", nullptr},
    {"//%e/descendant::text()", nullptr, some},
    {"//%e/descendant-or-self::node()", nullptr, some},
    {"//%e/following-sibling::*", nullptr, few},
    {"//%e/following-sibling::%s", nullptr, few},
    {"//%e/following-sibling::%s[1]", nullptr, few},
    {"//%e/preceding-sibling::%s", nullptr, few},
    {"//%e/preceding-sibling::*[%k]", nullptr, few},
    {"//%e/preceding-sibling::*[position()=last()]", nullptr, few},
    {"//%e/following::%x", nullptr, one},
    {"//%e/following::*[%k]", nullptr, few},
    {"//%e/preceding::%x", nullptr, one},
    {"//%e/preceding::*[%k]", nullptr, few},
    {"//%e/preceding::%x[position()=last()]", nullptr, one},
    {"//%e/@%a/..", nullptr},
    {"//%p/%e[%k]", nullptr},
    {"//%e[%k]", nullptr},
    {"//%e[position()=last()]", nullptr},
    {"//%e[last()-1]", nullptr},
    {"//%e[position()<%k]", nullptr},
    {"//%e[position()>=%k]/%c", nullptr},
    {"//%p/*[position()!=%k]", nullptr},
    {"//%e/%c[%k]/%d", nullptr},
    {"//%p/%e[position()>%k]/@%a", nullptr},
    {"//%e[%c]", nullptr},
    {"//%e[@%a]", nullptr},
    {"//%e[%c/%d]", nullptr},
    {"//%e[%c/@%b]", nullptr},
    {"//%p[%e/%c/%d]", nullptr},
    {"//%q[%p/%e/@%a]", nullptr},
    {"//%e[..]", "//%e[parent::*]"},
    {"//%e[../%s]", nullptr},
    {"//%c[ancestor::%e]", nullptr},
    {"//%e[descendant::%d]", nullptr},
    {"//%p[%e[%c]]", nullptr},
    {"//%p[%e[@%a]]/%s", nullptr},
    {"//%e[following-sibling::%s]", nullptr, few},
    {"//%e[preceding-sibling::%s]", nullptr, few},
    {"//%e[following-sibling::*/%c]", nullptr, few},
    {"//%e[%c][%k]", nullptr},
    {"//%e[%k][@%a]", nullptr},
    {"//%e[@%a][position()=last()]", nullptr},
    {"//%e[@%a]/%c[%k]", nullptr},
    {"//%p[%e/position()=%k]", "//%p[%e[%k]]"},
    {"//%e[@%a=%v]", nullptr},
    {"//%e[@%a!=%v]", nullptr},
    {"//%p/%e[@%a=%v]/%c", nullptr},
    {"//%p[%e/@%a=%v]", nullptr},
    {"//%c[../@%a=%v]", nullptr},
    {"//%e[%c/@%b=%w]", nullptr},
    {"//%e[@%a=%v][%c/@%b=%w]", nullptr},
    {"//%e[@%a=%v or %c]", nullptr},
    {"//%e[@%a=%v and %c/@%b=%w]", nullptr},
    {"//*[@%a=%v]", nullptr},
    {"//%e[@%a=%i]", nullptr},
    {"//%e[@%a<%i]", nullptr},
    {"//%e[@%a>=%i]", nullptr},
    {"//%e[@%a!=%i]/%c", nullptr},
    {"//%p[%e/@%a>%i]", nullptr},
    {"//%e[text()=%t]", "//%e[.//text()=%t]"},
    {"//%e[text()!=%t]", "//%e[.//text()!=%t]"},
    {"//%p[%e=%t]", "//%p[%e//text()=%t]"},
    {"//%q[%p/%e=%t]", "//%q[%p/%e//text()=%t]"},
    {"//%p[%e=%t]/%s[%k]", "//%p[%e//text()=%t]/%s[%k]"},
    {"//%e[contains(@%a,%n)]", nullptr},
    {"//%p/%e[contains(@%a,%n)]/@*", nullptr},
    {"//%e[contains(@%a,%n)][@%a!=%v]", nullptr},
    {"//%e[contains(%c/@%b,%n)]", "//%e[%c[contains(@%b,%n)]]"},
    {"//%e[contains(.,%m)]", "//%e[.//text()[contains(.,%m)]]"},
    {"//%e[contains(text(),%m)]", "//%e[.//text()[contains(.,%m)]]"},
    {"//%p[contains(%e/text(),%m)]", "//%p[.//%e//text()[contains(.,%m)]]"},
    {"//%q[contains(%e/text(),%m)]/%p", "//%q[.//%e//text()[contains(.,%m)]]/%p"},
    {"//*[contains(.,%m)]", "//*[.//text()[contains(.,%m)]]"},
    {"//%e[contains(.,%m) and @%a]", "//%e[.//text()[contains(.,%m)] and @%a]"},
    {"//%e[contains(.,%m)][%k]", "//%e[.//text()[contains(.,%m)]][%k]"},
    {"//%e[%c or @%a]", nullptr},
    {"//%e[%c and @%a]", nullptr},
    {"//%e|//%c", nullptr, some},
    {"//%e/%c|//%p/@*", nullptr, some},
    {"//%e[@%a=%v]|//%s|//@%b", nullptr, some},
};

std::string textOf(const xmlChar *text) {
    return text == nullptr ? std::string() : reinterpret_cast<const char *>(text);
}

std::string nameOf(const xmlNode &node) {
    return textOf(node.name);
}

/** Names that requests can hold: no underscore, and none of the words between expressions. */
bool isUsable(const std::string &name) {
    constexpr std::array<std::string_view, 4> words = {"and", "or", "div", "mod"};
    return name.find('_') == name.npos &&
           std::find(words.begin(), words.end(), name) == words.end();
}

/** A literal that is compared as a number, as docs/deviations.md says. */
bool isDecimal(const std::string &text) {
    const std::size_t start = text.starts_with('-') ? 1 : 0;
    return text.size() > start && text.find_first_not_of("0123456789.", start) == text.npos;
}

/** A number that a request can write: a few digits, no more than two behind the point. */
bool isPlainNumber(const std::string &text) {
    const std::size_t point = std::min(text.find('.'), text.size());
    const bool startsWell = !text.empty() && (text[0] != '0' || point == 1) && point > 0;
    return startsWell && isDecimal(text) && text[0] != '-' && text.size() < 9 &&
           std::count(text.begin(), text.end(), '.') <= 1 && point + 1 != text.size() &&
           text.size() - point <= 3;
}

/** The literal of a text in whichever quotes it does not hold; nothing when that cannot be. */
std::string quoted(const std::string &text) {
    const bool isPlain = !text.empty() && text.size() <= 200 &&
                         std::none_of(text.begin(), text.end(),
                                      [](char c) { return (c >= 0 && c < ' ') || c == '\\'; });
    if (!isPlain) return {};
    if (text.find('\'') == text.npos) return "'" + text + "'";
    return text.find('"') == text.npos ? '"' + text + '"' : std::string();
}

bool startsCharacter(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U;
}

}  // namespace

class DocumentRequests::Subject {
public:
    Subject(DocumentRequests &source, Node element) : source_(source), element_(element) {
        child_ = some(element->children, XML_ELEMENT_NODE);
        attribute_ = someAttribute(element);
        if (child_ != nullptr) childAttribute_ = someAttribute(child_);
        number_ = 1 + source.below(4);
    }

    /** The form with every mark replaced; empty when one of them stands for nothing here. */
    std::string fill(std::string_view form) {
        std::string result;
        for (std::size_t at = 0; at < form.size(); ++at) {
            if (form[at] != '%') {
                result += form[at];
                continue;
            }
            const std::string text = value(form[++at]);
            if (text.empty()) return {};
            result += text;
        }
        return result;
    }

private:
    std::string value(char mark) {
        auto known = values_.find(mark);
        if (known == values_.end()) known = values_.emplace(mark, find(mark)).first;
        return known->second;
    }

    std::string find(char mark) {
        switch (mark) {
            case 'e':
                return name(element_);
            case 'p':
                return name(up(element_));
            case 'q':
                return name(up(up(element_)));
            case 'c':
                return name(child_);
            case 'd':
                return name(child_ == nullptr ? nullptr : some(child_->children, XML_ELEMENT_NODE));
            case 's':
                return name(some(up(element_) == nullptr ? nullptr : up(element_)->children,
                                 XML_ELEMENT_NODE));
            case 'x':
                return source_.names_[source_.below(source_.names_.size())];
            case 'k':
                return std::to_string(number_);
            case 'a':
                return attributeName(attribute_);
            case 'b':
                return attributeName(childAttribute_);
            default:
                return findValue(mark);
        }
    }

    std::string findValue(char mark) {
        switch (mark) {
            case 'v':
                return literal(attributeValue(attribute_));
            case 'w':
                return literal(attributeValue(childAttribute_));
            case 'i':
                return isPlainNumber(attributeValue(attribute_)) ? attributeValue(attribute_)
                                                                 : std::string();
            case 'n':
                return quoted(piece(attributeValue(attribute_)));
            case 't':
                return literal(someText());
            case 'm':
                return quoted(piece(someText()));
            default:
                return {};
        }
    }

    static std::string name(Node node) {
        if (node == nullptr || node->type != XML_ELEMENT_NODE) return {};
        return isUsable(nameOf(*node)) ? nameOf(*node) : std::string();
    }

    static Node up(Node node) {
        if (node == nullptr || node->parent == nullptr) return nullptr;
        return node->parent->type == XML_ELEMENT_NODE ? node->parent : nullptr;
    }

    static std::string literal(const std::string &text) {
        return isDecimal(text) ? std::string() : quoted(text);
    }

    Node some(Node first, xmlElementType type) {
        std::vector<Node> nodes;
        for (Node node = first; node != nullptr; node = node->next) {
            if (node->type == type) nodes.push_back(node);
        }
        return nodes.empty() ? nullptr : nodes[source_.below(nodes.size())];
    }

    const xmlAttr *someAttribute(Node node) {
        std::vector<const xmlAttr *> attributes;
        for (const xmlAttr *one = node->properties; one != nullptr; one = one->next)
            attributes.push_back(one);
        return attributes.empty() ? nullptr : attributes[source_.below(attributes.size())];
    }

    static std::string attributeName(const xmlAttr *attribute) {
        if (attribute == nullptr) return {};
        const std::string name = textOf(attribute->name);
        return isUsable(name) ? name : std::string();
    }

    static std::string attributeValue(const xmlAttr *attribute) {
        if (attribute == nullptr || attribute->children == nullptr) return {};
        return textOf(attribute->children->content);
    }

    std::string someText() {
        const Node text = some(element_->children, XML_TEXT_NODE);
        return text == nullptr ? std::string() : textOf(text->content);
    }

    /** One to twenty characters that stand together in a text. */
    std::string piece(const std::string &text) {
        std::vector<std::size_t> starts;
        for (std::size_t at = 0; at < text.size(); ++at) {
            if (startsCharacter(text[at])) starts.push_back(at);
        }
        if (starts.empty()) return {};
        const std::size_t first = source_.below(starts.size());
        const std::size_t end = first + 1 + source_.below(20);
        const std::size_t stop = end < starts.size() ? starts[end] : text.size();
        return text.substr(starts[first], stop - starts[first]);
    }

    DocumentRequests &source_;
    Node element_;
    Node child_ = nullptr;
    const xmlAttr *attribute_ = nullptr;
    const xmlAttr *childAttribute_ = nullptr;
    std::size_t number_ = 1;
    std::map<char, std::string> values_;
};

DocumentRequests::DocumentRequests(const xmlDoc &document, unsigned seed) : random_(seed) {
    for (Node node = document.children; node != nullptr;) {
        if (node->type == XML_ELEMENT_NODE && isUsable(nameOf(*node)))
            elements_[nameOf(*node)].push_back(node);
        if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
            node = node->children;
            continue;
        }
        while (node != nullptr && node->next == nullptr)
            node = node->parent;
        node = node != nullptr ? node->next : nullptr;
    }
    for (const auto &[name, nodes] : elements_)
        names_.push_back(name);
}

/** Not by a distribution of the library, whose results differ from one to the next. */
std::size_t DocumentRequests::below(std::size_t limit) {
    return random_() % limit;
}

std::optional<Question> DocumentRequests::attempt() {
    const Form &form = forms[form_];
    const std::vector<Node> &nodes = elements_[names_[below(names_.size())]];
    if (nodes.size() > form.most) return std::nullopt;
    Subject subject(*this, nodes[below(nodes.size())]);
    Question question{subject.fill(form.request), {}};
    if (question.request.empty() || !made_.insert(question.request).second) return std::nullopt;
    question.expression = form.xpath != nullptr ? subject.fill(form.xpath) : question.request;
    if (!question.expression.starts_with('/')) question.expression.insert(0, "//");
    return question;
}

std::optional<Question> DocumentRequests::next() {
    constexpr int patience = 60;
    if (names_.empty()) return std::nullopt;
    for (std::size_t tried = 0; tried < 2 * std::size(forms); ++tried) {
        form_ = (form_ + 1) % std::size(forms);
        for (int attempts = 0; attempts < patience; ++attempts) {
            if (auto question = attempt()) return question;
        }
    }
    return std::nullopt;
}

}  // namespace answers
