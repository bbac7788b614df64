/** The engine over a home directory: nodes in memory-mapped tables, sets in memory. */
#ifndef ZDBS_EMBEDDED_EMBEDDED_ENGINE_H
#define ZDBS_EMBEDDED_EMBEDDED_ENGINE_H

#include <filesystem>
#include <memory>
#include <string_view>

#include "zdbs/engine/engine.h"

namespace zdbs {

class Home;

/** As Home::locate(). */
std::filesystem::path configuredHome();

/** Throws Failure(homeMissing). */
std::shared_ptr<const Engine> openEmbeddedEngine(const std::filesystem::path &home);

/**
 * A database for whoever owns the home: no user is asked about. For the
 * administrator's program. Throws Failure(unknownDatabase).
 */
std::unique_ptr<OpenDatabase> openAsOwner(const std::shared_ptr<Home> &home,
                                          std::string_view database);

}  // namespace zdbs

#endif
