/** Tables of the pages in docs/, as facts to be tested. */
#ifndef TESTS_ANSWERS_PAGE_TABLES_H
#define TESTS_ANSWERS_PAGE_TABLES_H

#include <string>
#include <vector>

namespace answers {

/** The rows under heads that are alike. */
struct PageTable {
    std::vector<std::string> head;
    std::vector<std::vector<std::string>> rows;

    /** The first cells. */
    std::vector<std::string> firsts() const;
};

/** All rows under such a head, of all tables of docs/`page`; cells are without back-quotes. */
PageTable tableOf(const std::string &page, const std::vector<std::string> &head);

}  // namespace answers

#endif
