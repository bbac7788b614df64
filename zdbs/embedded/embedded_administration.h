/** The administration of a home directory. */
#ifndef ZDBS_EMBEDDED_EMBEDDED_ADMINISTRATION_H
#define ZDBS_EMBEDDED_EMBEDDED_ADMINISTRATION_H

#include <filesystem>
#include <memory>

#include "zdbs/engine/administration.h"

namespace zdbs::embedded {

/** Throws Failure(homeMissing). */
std::unique_ptr<Administration> administerHome(const std::filesystem::path &home);

/** Makes a home. Throws Failure(homeExists). */
void makeHome(const std::filesystem::path &home);

/** As restoreLocation(). */
void restoreHome(const std::filesystem::path &home, const ByteSource &source);

}  // namespace zdbs::embedded

#endif
