/** What is remembered of the files that documents came from. */
#ifndef ZDBS_ADMIN_SOURCE_NOTES_H
#define ZDBS_ADMIN_SOURCE_NOTES_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "zdbs/base/node.h"

namespace zdbs::admin {

/** A file as it was when its document was loaded. */
struct SourceNote {
    std::string document;
    std::uint64_t bytes = 0;
    std::int64_t time = 0;  ///< of its last change, in nanoseconds; 0: it may have changed since
    std::string digest;     ///< of its content, in hexadecimal

    bool operator==(const SourceNote &) const = default;
};

/** Notes by the first record of a document, which no other document ever has. */
using SourceNotes = std::map<RecordId, SourceNote>;

std::string textOf(const SourceNotes &notes);

/** Notes that are lost, or none at all, cost time only: what is none is left out. */
SourceNotes readNotes(std::string_view text);

/**
 * Size and time of a file. The time of one that was just changed is 0: another change might leave
 * it as it is. Throws Failure(fileUnreadable).
 */
SourceNote noteOf(const std::filesystem::path &file);

/** 128 bits of XXH3, in hexadecimal. Heeds the stop of its thread. Throws Failure(fileUnreadable).
 */
std::string digestOf(const std::filesystem::path &file);

}  // namespace zdbs::admin

#endif
