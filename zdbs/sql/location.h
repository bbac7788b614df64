/** Locations on a server: postgresql://[USER@]HOST[:PORT]/DATABASE[?host=FOLDER&timeout=SECONDS].
 */
#ifndef ZDBS_SQL_LOCATION_H
#define ZDBS_SQL_LOCATION_H

#include <string>
#include <utility>
#include <vector>

namespace zdbs::sql {

struct Location {
    std::string name;                                             ///< as it was given, for messages
    std::vector<std::pair<std::string, std::string>> parameters;  ///< as libpq takes them
    int timeout = 60;  ///< in seconds: how long a statement may take; 0: as long as it likes
};

/**
 * Passwords have no place in a location: libpq takes them from ~/.pgpass or the file that
 * PGPASSFILE names. Throws Failure(badSetting) of the setting that the text is from.
 */
Location parseLocation(const std::string &text, const char *setting = "ZDBS_HOME");

}  // namespace zdbs::sql

#endif
