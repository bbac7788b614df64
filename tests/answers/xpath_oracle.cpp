#include "tests/answers/xpath_oracle.h"

#include <stdexcept>

#include "tests/support/temporary_directory.h"
#include "tests/zdbs/support/xml_text.h"

namespace answers {
namespace {

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

void ignore(void *, xmlErrorPtr) {}

/** Without its DTD: libxml2 counts that and the comments in it as nodes, XPath does not. */
Document read(const std::string &file) {
    zdbs::testing::refuseExternalEntities();
    const std::string text = support::readFile(file);
    Document document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), file.c_str(), nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NOWARNING),
        &xmlFreeDoc);
    xmlDtdPtr const dtd = document ? xmlGetIntSubset(document.get()) : nullptr;
    if (dtd != nullptr) {
        xmlUnlinkNode(reinterpret_cast<xmlNodePtr>(dtd));
        xmlFreeDtd(dtd);
    }
    return document;
}

}  // namespace

XPathOracle::XPathOracle(const std::string &file)
    : document_(read(file)),
      context_(document_ ? xmlXPathNewContext(document_.get()) : nullptr, &xmlXPathFreeContext) {
    if (!context_) throw std::runtime_error("cannot read " + file);
    context_->error = ignore;  // what is no XPath is thrown, not printed
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
