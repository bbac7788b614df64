#include "tests/answers/page_tables.h"

#include <fstream>

namespace answers {
namespace {

/** The cells of a table's line, without the white space and the backquotes around them. */
std::vector<std::string> cellsOf(const std::string &line) {
    std::vector<std::string> cells;
    for (std::size_t at = line.find('|'); at != std::string::npos;) {
        const std::size_t end = line.find('|', at + 1);
        if (end == std::string::npos) break;
        std::string cell = line.substr(at + 1, end - at - 1);
        cell.erase(0, cell.find_first_not_of(" `"));
        cell.erase(cell.find_last_not_of(" `") + 1);
        cells.push_back(cell);
        at = end;
    }
    return cells;
}

}  // namespace

std::vector<std::string> PageTable::firsts() const {
    std::vector<std::string> cells;
    for (const std::vector<std::string> &row : rows)
        cells.push_back(row.front());
    return cells;
}

PageTable tableOf(const std::string &page, const std::vector<std::string> &head) {
    PageTable table{head, {}};
    std::ifstream lines(VEXA_SOURCE_DIR "/docs/" + page);
    bool inside = false;
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with('|')) {
            inside = false;
        } else if (const auto cells = cellsOf(line); cells == head) {
            inside = true;
        } else if (inside && !cells.front().starts_with("---")) {
            table.rows.push_back(cells);
        }
    }
    return table;
}

}  // namespace answers
