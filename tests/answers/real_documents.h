/** XML documents that Debian packages install, of many makers and in many manners. */
#ifndef TESTS_ANSWERS_REAL_DOCUMENTS_H
#define TESTS_ANSWERS_REAL_DOCUMENTS_H

#include <iosfwd>
#include <string>
#include <vector>

#include "tests/answers/sample_databases.h"

namespace answers {

/** Each in a database of its own; the packages are those that packages.txt lists for tests. */
const std::vector<Sample> &realDocuments();

/** Those of them that can be asked many questions, and an engine in memory answers quickly. */
std::vector<Sample> documentsForAnswers();

/** The bytes of a document, unpacked when it is gzip. Throws std::runtime_error when it is missing.
 */
std::string textOf(const Sample &sample);

}  // namespace answers

#endif
