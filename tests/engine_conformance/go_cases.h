/** Cases of XPath that another engine's tests have, read from the sources that a package installs.
 */
#ifndef TESTS_ENGINE_CONFORMANCE_GO_CASES_H
#define TESTS_ENGINE_CONFORMANCE_GO_CASES_H

#include <map>
#include <string>
#include <vector>

namespace zdbs::conformance {

/** An expression over a document, and what it is. */
struct GoCase {
    std::string expression;
    std::string document;
    std::map<std::string, std::string, std::less<>> namespaces;
    bool selects = false;               ///< nodes; otherwise a value as text
    std::vector<std::string> expected;  ///< the value; or the string-values of the nodes, sorted
};

/**
 * The calls of execVal and execPath in a file, whose arguments are literals or variables that have
 * been given literals; others are left out. Throws std::runtime_error when it cannot be read.
 */
std::vector<GoCase> goCasesOf(const std::string &file);

}  // namespace zdbs::conformance

#endif
