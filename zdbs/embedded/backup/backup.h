/** Homes as one stream of bytes, and back. */
#ifndef ZDBS_EMBEDDED_BACKUP_BACKUP_H
#define ZDBS_EMBEDDED_BACKUP_BACKUP_H

#include <filesystem>
#include <span>
#include <string>

#include "zdbs/engine/administration.h"

namespace zdbs::embedded {

class Home;

/** As Administration::backUp(). Checksums of segments are verified on the way. */
void backUpHome(const Home &home, std::span<const std::string> databases,
                const ByteConsumer &consumer);

/**
 * As restoreLocation(). The home is made beside its place, in a directory that the next one into
 * this place takes over, and renamed when it is complete.
 */
void restoreBackup(const std::filesystem::path &home, const ByteSource &source);

}  // namespace zdbs::embedded

#endif
