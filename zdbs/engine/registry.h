/** Which engine keeps what a location names. */
#ifndef ZDBS_ENGINE_REGISTRY_H
#define ZDBS_ENGINE_REGISTRY_H

#include <memory>
#include <string>
#include <string_view>

#include "zdbs/engine/administration.h"

namespace zdbs {

/**
 * Where the databases of this process are: the setting ZDBS_HOME (environment, then run-control
 * file), else $XDG_DATA_HOME/zdbs, else ~/.local/share/zdbs. Nothing is looked up on disk.
 * Throws Failure(homeMissing) when none of the three says anything.
 */
std::string configuredLocation();

/** Another setting, found as ZDBS_HOME is; empty where there is none. */
std::string configured(const char *name);

/** Whether a location is a server's: https://HOST:PORT, http://HOST:PORT, unix:PATH. */
bool isServed(std::string_view location);

// A location that is a directory is a home of the embedded engine; one that begins with
// postgresql:// is kept by a database server (a password has no place in it). What is a server's
// has no engine here: what follows throws Failure(servedHome) for it.

/** Throws Failure(homeMissing). */
std::shared_ptr<const Engine> openEngine(const std::string &location);

/** For whoever owns the location. Throws Failure(homeMissing). */
std::unique_ptr<Administration> administer(const std::string &location);

/** Makes a location without users and databases. Throws Failure(homeExists). */
void makeLocation(const std::string &location);

/**
 * Makes a location of what Administration::backUp() told: as a whole or not at all, also when the
 * process is killed. Throws Failure: homeExists (an empty directory is taken over), backupDamaged.
 */
void restoreLocation(const std::string &location, const ByteSource &source);

}  // namespace zdbs

#endif
