/** Which files a load reads, and what their documents are called. */
#ifndef ZDBS_ADMIN_XML_SOURCES_H
#define ZDBS_ADMIN_XML_SOURCES_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/load/archive.h"

namespace zdbs::admin {

/** One document to come. */
struct XmlSource {
    std::filesystem::path file;  ///< empty: standard input
    std::string label;           ///< what messages call it
    std::string document;
    std::optional<std::uint64_t> size;           ///< in bytes on disk; in an archive, unpacked
    std::shared_ptr<Archive> archive = nullptr;  ///< that it is in
    std::size_t entry = 0;                       ///< its place there

    std::unique_ptr<Input> open() const;
};

/** Which files of folders are taken, and what the names of all documents begin with. */
struct SourceChoice {
    std::vector<std::string> patterns;  ///< as a shell has them; none: see findXml()
    std::string prefix;                 ///< a path; empty: none

    /** The name of the document of a file; without .gz and .zst. */
    std::string documentOf(const std::filesystem::path &file) const;

    /**
     * Whether a file of a folder is taken. A pattern with a slash is about the path below the
     * folder, others are about the name; one that fits without .gz and .zst fits.
     */
    bool takes(const std::filesystem::path &below) const;
};

/**
 * What `path` stands for: `-` is standard input, a folder is every file below it
 * whose name ends in .xml, .xml.gz or .xml.zst, or fits one of the patterns if there are any,
 * in order of name, links to
 * folders not followed, pipes and devices left out; an archive is the same of what is in it, in the
 * order in which it is there; anything else is a file, a
 * pipe too. A document is named by the path below the folder that was given, or
 * by the file's name. A folder below that cannot be read
 * stands among the files, as one that open() fails for.
 * Throws Failure(fileUnreadable); for a folder also when it has no such file.
 */
std::vector<XmlSource> findXml(const std::string &path, const SourceChoice &choice = {});

/** The files of a folder; there may be none. Throws Failure(fileUnreadable). */
std::vector<XmlSource> findInFolder(const std::filesystem::path &folder,
                                    const SourceChoice &choice);

/**
 * The files that a list names, one a line, or each up to a NUL character; `-` is standard input.
 * Documents are named by the paths as they are written, less what leads to the root or stays in
 * the folder. Throws Failure(fileUnreadable).
 */
std::vector<XmlSource> findListed(const std::string &list, bool endsInNul,
                                  const SourceChoice &choice);

}  // namespace zdbs::admin

#endif
