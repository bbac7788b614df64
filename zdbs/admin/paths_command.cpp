#include <string>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/answers/listings.h"

namespace zdbs::admin {

namespace {

std::string asText(const std::vector<PathCount> &paths) {
    TextTable table({TextTable::Align::right, TextTable::Align::left});
    table.add({"COUNT", "PATH"});
    for (const PathCount &path : paths) {
        const std::string step = path.level == 0
                                     ? "... " + stepText(path)
                                     : std::string(2 * (path.level - 1), ' ') + stepText(path);
        table.add({std::to_string(path.count), step});
    }
    return table.text();
}

}  // namespace

bool listPaths(const HomeChoice &home, const std::string &database, bool asJson) {
    const std::vector<PathCount> paths = home.open()->paths(database);
    writeOutput(asJson ? pathsAsJson(paths) : asText(paths));
    return true;
}

}  // namespace zdbs::admin
