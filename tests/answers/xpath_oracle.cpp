#include "tests/answers/xpath_oracle.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "tests/support/temporary_directory.h"
#include "tests/zdbs/support/xml_text.h"

namespace answers {
namespace {

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

void ignore(void *, xmlErrorPtr) {}

/** Without its DTD: libxml2 counts that and the comments in it as nodes, XPath does not. */
Document read(const std::string &text, const std::string &name) {
    zdbs::testing::refuseExternalEntities();
    Document document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), name.c_str(), nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_NOCDATA | XML_PARSE_DTDATTR |
                          XML_PARSE_NOWARNING | XML_PARSE_HUGE),
        &xmlFreeDoc);
    xmlDtdPtr const dtd = document ? xmlGetIntSubset(document.get()) : nullptr;
    if (dtd != nullptr) {
        xmlUnlinkNode(reinterpret_cast<xmlNodePtr>(dtd));
        xmlFreeDtd(dtd);
    }
    return document;
}

/** The node behind one in document order, when what is below it comes first; null at the end. */
xmlNodePtr nextInOrder(xmlNodePtr node) {
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr) return node->children;
    while (node != nullptr && node->next == nullptr)
        node = node->parent;
    return node != nullptr ? node->next : nullptr;
}

void *asPlace(std::uint32_t number) {
    return reinterpret_cast<void *>(std::uintptr_t{number});
}

std::uint32_t numberOf(const xmlNode &node) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(node._private));
}

}  // namespace

std::string numberText(double number) {
    if (std::isnan(number)) return "number NaN";
    std::array<char, 64> digits{};
    std::snprintf(digits.data(), digits.size(), "number %.17g", number == 0 ? 0.0 : number);
    return digits.data();
}

XPathOracle::XPathOracle(const std::string &file) : XPathOracle(support::readFile(file), file) {}

XPathOracle::XPathOracle(const std::string &text, const std::string &name)
    : document_(read(text, name)),
      context_(document_ ? xmlXPathNewContext(document_.get()) : nullptr, &xmlXPathFreeContext) {
    if (!context_) throw std::runtime_error("cannot read " + name);
    context_->error = ignore;  // what is no XPath is thrown, not printed
    number();
}

void XPathOracle::number() {
    std::uint32_t last = 0;
    for (xmlNodePtr node = document_->children; node != nullptr; node = nextInOrder(node)) {
        node->_private = asPlace(++last);
        if (node->type != XML_ELEMENT_NODE) continue;
        for (xmlAttrPtr attribute = node->properties; attribute != nullptr;
             attribute = attribute->next)
            attribute->_private = asPlace(++last);
    }
}

void XPathOracle::forgetNamespaces() {
    for (xmlNodePtr node = document_->children; node != nullptr; node = nextInOrder(node)) {
        if (node->type != XML_ELEMENT_NODE) continue;
        node->ns = nullptr;
        for (xmlAttrPtr attribute = node->properties; attribute != nullptr;
             attribute = attribute->next)
            attribute->ns = nullptr;
    }
}

void XPathOracle::declare(const std::string &prefix, const std::string &uri) {
    xmlXPathRegisterNs(context_.get(), reinterpret_cast<const xmlChar *>(prefix.c_str()),
                       reinterpret_cast<const xmlChar *>(uri.c_str()));
}

XPathOracle::Selection XPathOracle::evaluate(const std::string &expression) {
    context_->node = reinterpret_cast<xmlNodePtr>(document_.get());
    return {xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(expression.c_str()),
                                   context_.get()),
            &xmlXPathFreeObject};
}

std::string XPathOracle::answer(const std::string &expression) {
    const Selection found = evaluate(expression);
    if (!found) throw std::runtime_error("no expression: " + expression);
    if (found->type == XPATH_NUMBER) return numberText(found->floatval);
    if (found->type == XPATH_BOOLEAN) return found->boolval != 0 ? "boolean true" : "boolean false";
    if (found->type == XPATH_STRING)
        return "string " + std::string(reinterpret_cast<const char *>(found->stringval));
    std::vector<std::uint32_t> numbers;
    for (int place = 0; place < xmlXPathNodeSetGetLength(found->nodesetval); ++place) {
        const xmlNode &node = *found->nodesetval->nodeTab[place];
        numbers.push_back(node.type == XML_DOCUMENT_NODE ? 0 : numberOf(node));
    }
    std::sort(numbers.begin(), numbers.end());
    std::string text = "nodes";
    for (const std::uint32_t number : numbers)
        text += " " + std::to_string(number);
    return text;
}

std::optional<std::string> XPathOracle::answerWithin(unsigned long operations,
                                                     const std::string &expression) {
    constexpr int tooManyOperations =
        static_cast<int>(XML_XPATH_EXPRESSION_OK) + static_cast<int>(XPATH_OP_LIMIT_EXCEEDED);
    context_->opLimit = operations;
    context_->opCount = 0;
    xmlResetError(&context_->lastError);
    try {
        return answer(expression);
    } catch (const std::runtime_error &) {
        if (context_->lastError.code != tooManyOperations) throw;
        return std::nullopt;
    }
}

XPathOracle::Selection XPathOracle::select(const std::string &expression) {
    Selection found = evaluate(expression);
    if (!found || found->type != XPATH_NODESET)
        throw std::runtime_error("no node-set: " + expression);
    return found;
}

int XPathOracle::count(const std::string &expression) {
    return xmlXPathNodeSetGetLength(select(expression)->nodesetval);
}

std::vector<std::uint32_t> XPathOracle::numbers(const std::string &expression) {
    const Selection found = select(expression);
    std::vector<std::uint32_t> result;
    for (int place = 0; place < xmlXPathNodeSetGetLength(found->nodesetval); ++place) {
        const xmlNode &node = *found->nodesetval->nodeTab[place];
        if (node.type != XML_DOCUMENT_NODE) result.push_back(numberOf(node));
    }
    std::sort(result.begin(), result.end());
    return result;
}

}  // namespace answers
