#include "tests/engine_conformance/excerpt.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

#include "tests/support/temporary_directory.h"
#include "tests/zdbs/support/xml_text.h"

namespace zdbs::conformance {
namespace {

std::string nameOf(const xmlNode &node) {
    return reinterpret_cast<const char *>(node.name);
}

/** Takes away the elements of a name behind the first ones; returns those that stay. */
std::vector<xmlNodePtr> shorten(xmlNodePtr element, std::size_t most) {
    std::map<std::string, std::size_t> counts;
    std::vector<xmlNodePtr> kept;
    for (xmlNodePtr child = element->children, next = nullptr; child != nullptr; child = next) {
        next = child->next;
        if (child->type != XML_ELEMENT_NODE) continue;
        if (++counts[nameOf(*child)] <= most) {
            kept.push_back(child);
        } else {
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        }
    }
    return kept;
}

}  // namespace

std::string excerptOf(const std::string &file, std::size_t most) {
    testing::refuseExternalEntities();
    const std::string text = support::readFile(file);
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), file.c_str(), nullptr,
                      XML_PARSE_NONET | XML_PARSE_HUGE),
        &xmlFreeDoc);
    if (!document) throw std::runtime_error("cannot read " + file);
    std::vector<xmlNodePtr> open{xmlDocGetRootElement(document.get())};
    while (!open.empty()) {
        const xmlNodePtr element = open.back();
        open.pop_back();
        const std::vector<xmlNodePtr> kept = shorten(element, most);
        open.insert(open.end(), kept.begin(), kept.end());
    }
    xmlChar *written = nullptr;
    int length = 0;
    xmlDocDumpMemory(document.get(), &written, &length);
    std::string result(reinterpret_cast<const char *>(written), static_cast<std::size_t>(length));
    xmlFree(written);
    return result;
}

}  // namespace zdbs::conformance
