/** Record numbers by another engine: libxml2's XPath over a document, its nodes counted. */
#ifndef TESTS_ZDBS_ADMIN_NUMBERED_XML_H
#define TESTS_ZDBS_ADMIN_NUMBERED_XML_H

#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zdbs {

/** A document whose nodes have the numbers they get as the first one of a database. */
class NumberedXml {
public:
    /** Throws std::runtime_error when the text is not well formed. */
    explicit NumberedXml(const std::string &text);

    /** The numbers of the nodes that an expression selects, ascending. Throws when it is wrong. */
    std::vector<int> select(const std::string &expression) const;

private:
    void number(const xmlNode *node);

    std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document_;
    std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context_;
    std::map<const void *, int> numbers_;
};

}  // namespace zdbs

#endif
