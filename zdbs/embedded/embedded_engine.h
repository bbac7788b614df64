/** The engine over a home directory: nodes in memory-mapped tables, sets in memory. */
#ifndef ZDBS_EMBEDDED_EMBEDDED_ENGINE_H
#define ZDBS_EMBEDDED_EMBEDDED_ENGINE_H

#include <filesystem>
#include <memory>

#include "zdbs/engine/engine.h"

namespace zdbs::embedded {

/** Throws Failure(homeMissing). */
std::shared_ptr<const Engine> openEmbeddedEngine(const std::filesystem::path &home);

}  // namespace zdbs::embedded

#endif
