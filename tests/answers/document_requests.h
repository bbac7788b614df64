/** Requests made from what a document contains, and what XPath 1.0 says to each. */
#ifndef TESTS_ANSWERS_DOCUMENT_REQUESTS_H
#define TESTS_ANSWERS_DOCUMENT_REQUESTS_H

#include <libxml/tree.h>

#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace answers {

/** A request, and the XPath 1.0 expression over local names that counts the same. */
struct Question {
    std::string request;
    std::string expression;
};

/**
 * Fills forms with names, values and pieces of text from around an element of the document,
 * so that most requests find something. The same document and seed make the same requests.
 * The document must outlive it.
 */
class DocumentRequests {
public:
    DocumentRequests(const xmlDoc &document, unsigned seed);

    /** The next request, different from all before; nothing when no more are found. */
    std::optional<Question> next();

private:
    using Node = const xmlNode *;

    /** What the marks of a form stand for around one element. */
    class Subject;

    std::size_t below(std::size_t limit);
    std::optional<Question> attempt();

    std::mt19937 random_;
    std::map<std::string, std::vector<Node>> elements_;  ///< by local name
    std::vector<std::string> names_;
    std::set<std::string> made_;
    std::size_t form_ = 0;
};

}  // namespace answers

#endif
