/** Which files a load reads, and what their documents are called. */
#ifndef ZDBS_ADMIN_XML_SOURCES_H
#define ZDBS_ADMIN_XML_SOURCES_H

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zdbs/load/input.h"

namespace zdbs::admin {

/** One document to come. */
struct XmlSource {
    std::filesystem::path file;  ///< empty: standard input
    std::string label;           ///< what messages call it
    std::string document;
    std::optional<std::uint64_t> size;  ///< in bytes on disk; of files only

    std::unique_ptr<Input> open() const;
};

/**
 * What `path` stands for: `-` is standard input, a folder is every file below it
 * whose name ends in .xml, .xml.gz or .xml.zst, in order of name, links to
 * folders not followed, pipes and devices left out; anything else is a file, a
 * pipe too. A document is named by the path below the folder that was given, or
 * by the file's name; without .gz and .zst. A folder below that cannot be read
 * stands among the files, as one that open() fails for.
 * Throws Failure(fileUnreadable); for a folder also when it has no such file.
 */
std::vector<XmlSource> findXml(const std::string &path);

}  // namespace zdbs::admin

#endif
