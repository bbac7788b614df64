#include "tests/zdbs/load/canonical_form.h"

#include <libxml/c14n.h>
#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <stdexcept>

namespace zdbs {

std::string canonicalForm(std::string_view xml) {
    constexpr int options = XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NOCDATA |
                            XML_PARSE_NONET | XML_PARSE_HUGE | XML_PARSE_NOERROR |
                            XML_PARSE_NOWARNING;
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, options),
        &xmlFreeDoc);
    if (!document) throw std::runtime_error("libxml2 cannot parse the document");
    xmlChar *bytes = nullptr;
    const int size =
        xmlC14NDocDumpMemory(document.get(), nullptr, XML_C14N_1_0, nullptr, 1, &bytes);
    if (size < 0) throw std::runtime_error("libxml2 cannot canonicalise the document");
    const std::string text(reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(size));
    xmlFree(bytes);
    return text;
}

}  // namespace zdbs
