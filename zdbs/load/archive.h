/** Archives of files, and files that are packed in ways that are less usual. */
#ifndef ZDBS_LOAD_ARCHIVE_H
#define ZDBS_LOAD_ARCHIVE_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/load/input.h"

namespace zdbs {

/** A file in an archive. */
struct ArchiveEntry {
    std::string name;                   ///< its path there, without what stays in the folder
    std::optional<std::uint64_t> size;  ///< unpacked, where that is told
};

/** An archive by tar, cpio, zip or 7z, whatever packs it. One thread. */
class Archive {
public:
    virtual ~Archive() = default;

    /** Null when the file is no archive. Throws Failure: fileUnreadable, compressedDamaged. */
    static std::shared_ptr<Archive> open(const std::filesystem::path &file);

    /** The files in it, as they come. */
    virtual const std::vector<ArchiveEntry> &entries() const = 0;

    /**
     * One of them, unpacked when its content is packed by itself; the one before ends with that.
     * Quick in their order. Throws Failure: fileUnreadable, compressedDamaged.
     */
    virtual std::unique_ptr<Input> open(std::size_t entry) = 0;
};

/** A file that bzip2, xz, lzip or lz4 has packed. `name` is what messages call it. */
std::unique_ptr<Input> unpackByLibrary(std::unique_ptr<Input> packed, std::string name);

/** The input, or what unpacks it when it begins as packed files do. */
std::unique_ptr<Input> unpackIfPacked(std::unique_ptr<Input> input, const std::string &name);

}  // namespace zdbs

#endif
