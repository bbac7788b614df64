/** An independent XPath 1.0 engine (libxml2) over one document. */
#ifndef TESTS_ANSWERS_XPATH_ORACLE_H
#define TESTS_ANSWERS_XPATH_ORACLE_H

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <memory>
#include <string>

namespace answers {

class XPathOracle {
public:
    /** Reads the document; throws std::runtime_error when it cannot be read. */
    explicit XPathOracle(const std::string &file);

    /** Number of nodes that an expression selects. Throws when it is no node-set. */
    int count(const std::string &expression);

private:
    std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document_;
    std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context_;
};

}  // namespace answers

#endif
