#include "tests/answers/request_table.h"

#include <fstream>

#include "tests/answers/local_names.h"

namespace answers {

std::vector<Row> readTable(const std::string &wanted) {
    std::vector<Row> rows;
    std::ifstream file(ANSWERS_DIR "/data/requests.txt");
    std::string database;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.starts_with('#')) continue;
        if (line.starts_with('[')) {
            database = line.substr(1, line.size() - 2);
            continue;
        }
        if (database != wanted) continue;
        const std::string arrow = " => ";
        const std::size_t at = line.find(arrow);
        const std::string request = line.substr(0, at);
        rows.push_back({request, at == std::string::npos
                                     ? expressionOf(request)
                                     : byLocalName(line.substr(at + arrow.size()))});
    }
    return rows;
}

}  // namespace answers
