/** Well-formed documents made up at random, with everything that XML has. */
#ifndef TESTS_ZDBS_LOAD_RANDOM_XML_H
#define TESTS_ZDBS_LOAD_RANDOM_XML_H

#include <cstddef>
#include <random>
#include <string>

namespace zdbs {

/**
 * About `size` pieces of content: nested elements in and out of namespaces,
 * attributes, declarations and redeclarations, texts, character references,
 * entities, CDATA, comments, instructions; sometimes behind a DTD with entities
 * and attribute defaults. The same seed gives the same text.
 */
std::string randomXml(std::mt19937 &random, std::size_t size);

}  // namespace zdbs

#endif
