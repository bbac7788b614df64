/** The engine that keeps databases on a server of PostgreSQL's kind. */
#ifndef ZDBS_SQL_SQL_ENGINE_H
#define ZDBS_SQL_SQL_ENGINE_H

#include <memory>
#include <string>

#include "zdbs/engine/administration.h"
#include "zdbs/engine/engine.h"

namespace zdbs::sql {

/** As openEngine(), administer() and makeLocation(). Throw also Failure: badSetting,
 *  serverUnreachable. */
std::shared_ptr<const Engine> openSqlEngine(const std::string &location);
std::unique_ptr<Administration> administerServer(const std::string &location);
void makeServerLocation(const std::string &location);

}  // namespace zdbs::sql

#endif
