#include "tests/zdbs/admin/numbered_xml.h"

#include <libxml/parser.h>

#include <algorithm>
#include <stdexcept>

namespace zdbs {

NumberedXml::NumberedXml(const std::string &text)
    : document_(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                              XML_PARSE_NOENT | XML_PARSE_NOCDATA | XML_PARSE_NOERROR),
                xmlFreeDoc),
      context_(nullptr, xmlXPathFreeContext) {
    if (!document_) throw std::runtime_error("not well formed");
    context_.reset(xmlXPathNewContext(document_.get()));
    for (const xmlNode *node = document_->children; node != nullptr; node = node->next)
        number(node);
}

void NumberedXml::number(const xmlNode *node) {
    numbers_.emplace(node, static_cast<int>(numbers_.size()) + 1);
    if (node->type != XML_ELEMENT_NODE) return;
    for (const xmlAttr *attribute = node->properties; attribute; attribute = attribute->next)
        numbers_.emplace(attribute, static_cast<int>(numbers_.size()) + 1);
    for (const xmlNode *child = node->children; child != nullptr; child = child->next)
        number(child);
}

std::vector<int> NumberedXml::select(const std::string &expression) const {
    const std::string copy = expression;
    const std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> result(
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(copy.c_str()), context_.get()),
        xmlXPathFreeObject);
    if (!result || result->type != XPATH_NODESET) throw std::runtime_error(expression);
    std::vector<int> numbers;
    const xmlNodeSet *nodes = result->nodesetval;
    for (int i = 0; nodes != nullptr && i < nodes->nodeNr; ++i) {
        const auto found = numbers_.find(nodes->nodeTab[i]);
        if (found != numbers_.end()) numbers.push_back(found->second);  // the root is no record
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

}  // namespace zdbs
