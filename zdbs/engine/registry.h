/** Which engine keeps what a location names. */
#ifndef ZDBS_ENGINE_REGISTRY_H
#define ZDBS_ENGINE_REGISTRY_H

#include <memory>
#include <string>

#include "zdbs/engine/engine.h"

namespace zdbs {

/**
 * Where the databases of this process are: the setting ZDBS_HOME (environment, then run-control
 * file), else $XDG_DATA_HOME/zdbs, else ~/.local/share/zdbs. Nothing is looked up on disk.
 * Throws Failure(homeMissing) when none of the three says anything.
 */
std::string configuredLocation();

/** A directory is a home of the embedded engine. Throws Failure: homeMissing. */
std::shared_ptr<const Engine> openEngine(const std::string &location);

}  // namespace zdbs

#endif
