/** A database with something of everything, and ways to damage it. */
#ifndef TESTS_ZDBS_EMBEDDED_CHECK_DAMAGED_DATABASE_H
#define TESTS_ZDBS_EMBEDDED_CHECK_DAMAGED_DATABASE_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/temporary_directory.h"
#include "tests/zdbs/embedded/check/segment_image.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/records.h"

namespace zdbs::embedded {

/**
 * "items.xml" over several segments with values for every index, "deep.xml" with nodes of
 * irregular paths, "other.xml", "long.xml" with texts of 60 kB, and segments with rows of a
 * document that was removed. Nothing has it open between the calls.
 */
class DamagedDatabase {
public:
    /** @param items how many "items.xml" has; with a few there is one segment for each load */
    explicit DamagedDatabase(std::size_t items = 420);

    std::filesystem::path home() const { return directory_.path() / "home"; }
    std::filesystem::path path() const { return home() / "databases" / "db"; }

    // Files of segments, counted from 0 in the order of their nodes.
    std::filesystem::path segmentFile(std::size_t index) const;
    std::size_t segmentCount() const { return segments().size(); }

    /** Adds one to a byte of a file. */
    static void spoil(const std::filesystem::path &file, std::size_t offset);
    static void write(const std::filesystem::path &file, const std::string &bytes);

    /** Changes a segment; its checksums and its record in the catalogue are made to fit. */
    void change(std::size_t index, const std::function<void(SegmentImage &)> &work) const;

    /** The same with the local number of a path, "/items/item/@n", in the first segment that has
     * it. */
    void changePath(const std::string &path,
                    const std::function<void(SegmentImage &, std::uint32_t)> &work) const;

    /** The column of values of a path. */
    void changeValues(const std::string &path, const std::function<void(ValueParts &)> &work) const;

    // Records of the catalogue by the name of their table; their checksums are made to fit.
    std::optional<std::string> record(const char *table, const std::string &key) const;
    void put(const char *table, const std::string &key, const std::string &record) const;
    void remove(const char *table, const std::string &key) const;

    /** Changes a byte of a table's first record but one, and leaves its checksum. */
    void spoilRecord(const char *table) const;
    std::vector<std::string> keys(const char *table) const;

    void changeState(const std::function<void(StateRecord &)> &change) const;
    void changePathRecord(PathId path, const std::function<void(Path &)> &change) const;
    void changeSegment(std::size_t index, const std::function<void(SegmentRecord &)> &work) const;
    void changeDocument(std::size_t index,
                        const std::function<void(NodeId first, DocumentRecord &)> &work) const;

    /** The number of a path with that text. */
    PathId pathNumber(const std::string &path) const;

    std::vector<StoredSegment> segments() const;
    std::vector<NodeId> documents() const;

private:
    void load(std::size_t items) const;

    support::TemporaryDirectory directory_;
};

}  // namespace zdbs::embedded

#endif
