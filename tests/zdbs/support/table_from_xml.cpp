/** Node tables from XML text, by libxml2's streaming reader. */
#include <libxml/xmlreader.h>

#include <memory>
#include <stdexcept>

#include "tests/zdbs/support/memory_node_table.h"
#include "tests/zdbs/support/xml_text.h"

namespace zdbs::testing {
namespace {

/** Entities expanded, attribute defaults of an internal subset added. */
constexpr int parseOptions = XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_DTDATTR |
                             XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE;

using Reader = std::unique_ptr<xmlTextReader, decltype(&xmlFreeTextReader)>;

std::string text(const xmlChar *value) {
    return value == nullptr ? std::string() : reinterpret_cast<const char *>(value);
}

MemoryNodeTable::Name currentName(xmlTextReaderPtr reader) {
    return {text(xmlTextReaderConstLocalName(reader)), text(xmlTextReaderConstPrefix(reader)),
            text(xmlTextReaderConstNamespaceUri(reader))};
}

/** Collects neighbouring character data, CDATA included, into one text node. */
class TableBuilder {
public:
    TableBuilder(MemoryNodeTable &table, xmlTextReaderPtr reader)
        : table_(table), reader_(reader) {}

    void takeNode() {
        switch (xmlTextReaderNodeType(reader_)) {
            case XML_READER_TYPE_TEXT:
            case XML_READER_TYPE_CDATA:
            case XML_READER_TYPE_WHITESPACE:
            case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
                pending_ += text(xmlTextReaderConstValue(reader_));
                return;
            default:
                break;
        }
        flushText();
        takeMarkup();
    }

private:
    void takeMarkup() {
        switch (xmlTextReaderNodeType(reader_)) {
            case XML_READER_TYPE_ELEMENT:
                return takeElement();
            case XML_READER_TYPE_END_ELEMENT:
                return table_.endElement();
            case XML_READER_TYPE_COMMENT:
                table_.comment(text(xmlTextReaderConstValue(reader_)));
                return;
            case XML_READER_TYPE_PROCESSING_INSTRUCTION:
                table_.instruction(text(xmlTextReaderConstLocalName(reader_)),
                                   text(xmlTextReaderConstValue(reader_)));
                return;
            default:
                return;
        }
    }

    void takeElement() {
        const bool empty = xmlTextReaderIsEmptyElement(reader_) == 1;
        const MemoryNodeTable::Name name = currentName(reader_);
        std::vector<MemoryNodeTable::Declaration> declarations;
        std::vector<std::pair<MemoryNodeTable::Name, std::string>> attributes;
        while (xmlTextReaderMoveToNextAttribute(reader_) == 1) {
            const std::string value = text(xmlTextReaderConstValue(reader_));
            const MemoryNodeTable::Name attribute = currentName(reader_);
            if (xmlTextReaderIsNamespaceDecl(reader_) != 1) {
                attributes.emplace_back(attribute, value);
            } else {
                declarations.push_back({attribute.prefix.empty() ? "" : attribute.local, value});
            }
        }
        xmlTextReaderMoveToElement(reader_);
        table_.startElement(name, declarations);
        for (const auto &[attribute, value] : attributes)
            table_.attribute(attribute, value);
        if (empty) table_.endElement();
    }

    void flushText() {
        if (!pending_.empty()) table_.text(pending_);
        pending_.clear();
    }

    MemoryNodeTable &table_;
    xmlTextReaderPtr reader_;
    std::string pending_;
};

void addDocument(MemoryNodeTable &table, const XmlSource &source) {
    refuseExternalEntities();
    const Reader reader(xmlReaderForMemory(source.xml.data(), static_cast<int>(source.xml.size()),
                                           source.name.c_str(), nullptr, parseOptions),
                        &xmlFreeTextReader);
    if (!reader) throw std::runtime_error("no reader for " + source.name);
    table.startDocument(source.name);
    TableBuilder builder(table, reader.get());
    int status = 0;
    while ((status = xmlTextReaderRead(reader.get())) == 1)
        builder.takeNode();
    if (status != 0) throw std::runtime_error(source.name + " is not well-formed");
    table.endDocument();
}

}  // namespace

MemoryNodeTable tableFromXml(const std::vector<XmlSource> &documents) {
    MemoryNodeTable table;
    for (const XmlSource &document : documents)
        addDocument(table, document);
    return table;
}

MemoryNodeTable tableFromXml(std::string_view xml) {
    return tableFromXml({{"test.xml", std::string(xml)}});
}

}  // namespace zdbs::testing
