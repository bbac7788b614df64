#include "tests/zdbs/support/xml_text.h"

#include <libxml/c14n.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <memory>
#include <stdexcept>

namespace zdbs::testing {
namespace {

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;
using Context = std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)>;

/** Entities expanded, attribute defaults of an internal subset added. */
constexpr int parseOptions = XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_DTDATTR |
                             XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE;

xmlParserInputPtr findNothing(const char *, const char *, xmlParserCtxtPtr) {
    return nullptr;
}

Document parse(std::string_view xml, std::string &error) {
    refuseExternalEntities();
    const Context context(xmlNewParserCtxt(), &xmlFreeParserCtxt);
    Document document(xmlCtxtReadMemory(context.get(), xml.data(), static_cast<int>(xml.size()),
                                        "text.xml", nullptr, parseOptions),
                      &xmlFreeDoc);
    const bool good = document && context->wellFormed == 1 && context->nsWellFormed == 1;
    if (good) return document;
    const xmlError *last = xmlCtxtGetLastError(context.get());
    error = last != nullptr && last->message != nullptr ? last->message : "not well-formed";
    return document;
}

}  // namespace

void refuseExternalEntities() {
    xmlSetExternalEntityLoader(findNothing);
}

std::string wellFormednessError(std::string_view xml) {
    std::string error;
    parse(xml, error);
    return error;
}

std::string canonical(std::string_view xml) {
    std::string error;
    const Document document = parse(xml, error);
    if (!error.empty()) throw std::runtime_error(error);
    xmlChar *text = nullptr;
    const int length =
        xmlC14NDocDumpMemory(document.get(), nullptr, XML_C14N_1_0, nullptr, 1, &text);
    if (length < 0) throw std::runtime_error("cannot be canonicalised");
    std::string result(reinterpret_cast<const char *>(text), static_cast<std::size_t>(length));
    xmlFree(text);
    return result;
}

}  // namespace zdbs::testing
