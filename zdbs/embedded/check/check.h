/** The whole of a database verified: every structure against every other. */
#ifndef ZDBS_EMBEDDED_CHECK_CHECK_H
#define ZDBS_EMBEDDED_CHECK_CHECK_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "zdbs/embedded/check/findings.h"

namespace zdbs::embedded {

struct CheckOptions {
    std::size_t mostOfAStructure = 5;  ///< findings that are told of each structure
    std::size_t mostOfAll = 1000;

    /** Called every now and then; `done` of `total` bytes. What it throws ends the check. */
    ProgressReport progress;
};

/**
 * Checks the newest state of the database in that directory; others may read and write
 * meanwhile. Looks, in this order,
 *
 *   1. at the pages of the catalogue, before LMDB does (data_file.h);
 *   2. at every record of the catalogue, and at the tables against each other;
 *   3. at the checksums of every segment, at its columns and at the indexes over values;
 *   4. at the tree: rebuilt from the paths of nodes and compared with what is stored about
 *      parents, subtrees, attributes and numbers.
 *
 * Whatever is damaged, it comes to an end and tells about it; what cannot be read on account
 * of that is left out. Memory: the catalogue, and the open elements of a document.
 *
 * Throws Failure: unknownDatabase, homeUnreadable, homeVersion, outOfMemory.
 */
CheckReport checkDatabase(const std::filesystem::path &directory, const CheckOptions &options = {});

}  // namespace zdbs::embedded

#endif
