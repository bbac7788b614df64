/** The beginnings of a document. */
#ifndef TESTS_ENGINE_CONFORMANCE_EXCERPT_H
#define TESTS_ENGINE_CONFORMANCE_EXCERPT_H

#include <string>

namespace zdbs::conformance {

/**
 * An XML document with no more than `most` child elements of one name in each element: small
 * enough for whoever looks at all pairs of nodes, and still of everything some.
 * Throws std::runtime_error when it cannot be read.
 */
std::string excerptOf(const std::string &file, std::size_t most);

}  // namespace zdbs::conformance

#endif
