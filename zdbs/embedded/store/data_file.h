/** The file of a catalogue page by page, verified before LMDB reads it. */
#ifndef ZDBS_EMBEDDED_STORE_DATA_FILE_H
#define ZDBS_EMBEDDED_STORE_DATA_FILE_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zdbs::embedded {

/** Beside the data file; whoever changes or drops the database locks it. */
inline constexpr const char *writerLockName = "writer.lock";

/** What checkDataFile() found out. */
struct DataFileReport {
    std::vector<std::string> findings;  ///< a few words each, the first ones
    std::uint64_t pages = 0;            ///< that were looked at
};

/**
 * LMDB believes what it reads: a page number outside of the file ends the process, a page
 * that is its own child never ends. This reads the file by itself and follows every page
 * of the newest state: both meta pages, the trees of all tables with their keys in order,
 * overflow pages, the list of free pages, the counts of all of them. Where it finds
 * nothing, LMDB reads that state within the file and comes to an end.
 *
 * Each page is looked at once, so that the work is bounded by the file's size. A writer
 * may commit meanwhile; then it begins again, some ten seconds long at most, and keeps writers
 * away when it can. `most` is how many findings are told.
 *
 * The format is the one of LMDB 0.9 on a 64-bit system (data version 1). Throws
 * Failure: homeUnreadable, unknownDatabase (no such file), storeFailed (changed all the time).
 */
DataFileReport checkDataFile(const std::filesystem::path &file, std::size_t most = 10);

}  // namespace zdbs::embedded

#endif
