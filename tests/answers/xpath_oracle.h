/** An independent XPath 1.0 engine (libxml2) over one document. */
#ifndef TESTS_ANSWERS_XPATH_ORACLE_H
#define TESTS_ANSWERS_XPATH_ORACLE_H

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace answers {

class XPathOracle {
public:
    /** Reads the document; throws std::runtime_error when it cannot be read. */
    explicit XPathOracle(const std::string &file);

    /** Reads the text of a document that is called `name`. */
    XPathOracle(const std::string &text, const std::string &name);

    /** Number of nodes that an expression selects. Throws when it is no node-set. */
    int count(const std::string &expression);

    /**
     * The numbers of the nodes that an expression selects, ascending: from 1, in document order,
     * an element's attributes behind it. The root has none. Throws when it is no node-set.
     */
    std::vector<std::uint32_t> numbers(const std::string &expression);

    /** A prefix of expressions. */
    void declare(const std::string &prefix, const std::string &uri);

    /**
     * What an expression is at the root: "nodes 0 3 5", the root being 0; "number 1.5", with as
     * many digits as it has; "string …"; "boolean true". Throws when it is no expression.
     */
    std::string answer(const std::string &expression);

    /**
     * The same; nothing where the engine takes more than so many operations, a node on the way
     * being one.
     */
    std::optional<std::string> answerWithin(unsigned long operations,
                                            const std::string &expression);

    /** From now on no node is in a namespace: a name without prefix asks for the local part. */
    void forgetNamespaces();

    const xmlDoc &document() const { return *document_; }

private:
    using Selection = std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)>;

    Selection evaluate(const std::string &expression);
    Selection select(const std::string &expression);
    void number();

    std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document_;
    std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context_;
};

/** As XPathOracle::answer() writes it; both zeros are one. */
std::string numberText(double number);

}  // namespace answers

#endif
