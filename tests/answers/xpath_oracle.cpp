#include "tests/answers/xpath_oracle.h"

#include <stdexcept>

namespace answers {

XPathOracle::XPathOracle(const std::string &file)
    : document_(xmlReadFile(file.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_NOENT),
                &xmlFreeDoc),
      context_(document_ ? xmlXPathNewContext(document_.get()) : nullptr, &xmlXPathFreeContext) {
    if (!context_) throw std::runtime_error("cannot read " + file);
}

int XPathOracle::count(const std::string &expression) {
    const std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> found(
        xmlXPathEvalExpression(reinterpret_cast<const xmlChar *>(expression.c_str()),
                               context_.get()),
        &xmlXPathFreeObject);
    if (!found || found->type != XPATH_NODESET)
        throw std::runtime_error("no node-set: " + expression);
    return xmlXPathNodeSetGetLength(found->nodesetval);
}

}  // namespace answers
