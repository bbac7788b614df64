#include "zdbs/engine/registry.h"

#include "zdbs/base/status.h"
#include "zdbs/embedded/embedded_administration.h"
#include "zdbs/embedded/embedded_engine.h"
#ifdef VEXA_SQL_ENGINE
#include "zdbs/sql/sql_engine.h"
#endif

namespace zdbs {

namespace {

constexpr const char *serverScheme = "postgresql://";

bool isOnServer(const std::string &location) {
    return location.starts_with(serverScheme);
}

#ifdef VEXA_SQL_ENGINE
using sql::administerServer;
using sql::makeServerLocation;
using sql::openSqlEngine;
#else
[[noreturn]] void refuse() {
    throw Failure(Status::unsupported, {"this program was built without servers of databases"});
}
std::shared_ptr<const Engine> openSqlEngine(const std::string &) {
    refuse();
}
std::unique_ptr<Administration> administerServer(const std::string &) {
    refuse();
}
void makeServerLocation(const std::string &) {
    refuse();
}
#endif

/** What is a folder of the embedded engine's. */
const std::string &folderIn(const std::string &location) {
    if (isServed(location)) throw Failure(Status::servedHome, {location});
    return location;
}

}  // namespace

std::shared_ptr<const Engine> openEngine(const std::string &location) {
    if (isOnServer(location)) return openSqlEngine(location);
    return embedded::openEmbeddedEngine(folderIn(location));
}

std::unique_ptr<Administration> administer(const std::string &location) {
    if (isOnServer(location)) return administerServer(location);
    return embedded::administerHome(folderIn(location));
}

void makeLocation(const std::string &location) {
    if (isOnServer(location)) return makeServerLocation(location);
    embedded::makeHome(folderIn(location));
}

void restoreLocation(const std::string &location, const ByteSource &source) {
    if (isOnServer(location))
        throw Failure(Status::unsupported, {"the database server has backups of its own"});
    embedded::restoreHome(folderIn(location), source);
}

}  // namespace zdbs
