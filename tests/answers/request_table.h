/** The requests of data/requests.txt. */
#ifndef TESTS_ANSWERS_REQUEST_TABLE_H
#define TESTS_ANSWERS_REQUEST_TABLE_H

#include <string>
#include <vector>

namespace answers {

struct Row {
    std::string request;
    std::string expression;  ///< XPath 1.0 that counts the same, by local names
};

/** A database's section of data/requests.txt, whose first lines say how it is written. */
std::vector<Row> readTable(const std::string &wanted);

}  // namespace answers

#endif
