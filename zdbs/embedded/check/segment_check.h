/** One segment by itself: its checksums, its columns, the indexes over its values. */
#ifndef ZDBS_EMBEDDED_CHECK_SEGMENT_CHECK_H
#define ZDBS_EMBEDDED_CHECK_SEGMENT_CHECK_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/check/catalogue_tables.h"
#include "zdbs/embedded/check/findings.h"
#include "zdbs/embedded/store/segment.h"

namespace zdbs::embedded {

/** A segment as far as it can be read. */
struct CheckedSegment {
    std::shared_ptr<const Segment> file;
    std::string place;                         ///< what findings call it
    std::vector<std::optional<PathRun>> runs;  ///< by local number of a path
    bool hasNodes = true;                      ///< which path each node has can be read
};

class SegmentCheck {
public:
    SegmentCheck(const CatalogueTables &tables, Findings &findings)
        : tables_(tables), findings_(findings) {}

    /** Called with the bytes that were looked at since the last call. */
    void onProgress(std::function<void(std::uint64_t)> report) { report_ = std::move(report); }

    /** Reads every byte of the segment. */
    CheckedSegment run(const StoredSegment &stored, std::shared_ptr<const Segment> file);

private:
    void compareWithRecord(const StoredSegment &stored);
    void checkBlocks();
    std::string partsIn(const SegmentPart &block) const;
    bool isPathSound(std::uint32_t local) const;
    void checkCommon();
    void checkDeclarations();
    void checkPath(std::uint32_t local);
    void checkNumbers(std::uint32_t local, SegmentColumn column, const std::string &name);
    void checkNames(const PathRun &run, const std::string &path);
    void checkValues(const PathRun &run, const std::string &path);
    void checkValuePaths();
    void checkWords();
    void compareEntries(std::string_view expected);
    void tellEntry(const ValuePaths::Entry &entry, const char *what);
    void tell(const std::string &structure, std::string text) {
        findings_.add(segment_.place, structure, std::move(text));
    }

    const CatalogueTables &tables_;
    Findings &findings_;
    std::function<void(std::uint64_t)> report_ = [](std::uint64_t) {};
    CheckedSegment segment_;
};

}  // namespace zdbs::embedded

#endif
