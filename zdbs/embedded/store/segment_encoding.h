/** Turns the rows of a segment into the bytes of its file. */
#ifndef ZDBS_EMBEDDED_STORE_SEGMENT_ENCODING_H
#define ZDBS_EMBEDDED_STORE_SEGMENT_ENCODING_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/embedded/columns/column_words.h"
#include "zdbs/embedded/store/records.h"
#include "zdbs/embedded/store/segment.h"
#include "zdbs/embedded/store/segment_rows.h"

namespace zdbs::embedded {

/**
 * Encodes the paths of a segment one by one, in as many threads as call help(). The
 * heavy part are the indexes over values.
 */
class SegmentEncoding {
public:
    /** REQUIRES that there are rows. */
    explicit SegmentEncoding(SegmentRows rows);

    /** Encodes what nobody has begun, until nothing is left to begin. Throws nothing. */
    void help();

    /**
     * Helps, waits until all is encoded, and writes and syncs the file; the entry in its
     * directory still wants syncDirectory(). Answers its record without the file's number.
     * Once. Throws what an encoding threw; Failure: diskFull, storeFailed, homeReadOnly.
     */
    SegmentRecord write(const std::filesystem::path &file);

private:
    void encode(std::size_t place);
    void encodePath(PathRows &rows, std::size_t place);
    void encodeCommon();
    void encodeValuePaths();
    void encodeWords();
    void waitForAll();
    std::vector<std::string_view> blocks() const;
    void completeHeader();
    std::string front() const;

    SegmentRows rows_;
    SegmentHeader header_{};
    std::vector<std::uint32_t> order_;         ///< local numbers by number of the path
    std::vector<std::size_t> turns_;           ///< the large ones first, as places in order_
    std::vector<SegmentPath> directory_;       ///< in the order of order_, as are
    std::vector<std::string> columns_;         ///< the columns of each, and
    std::vector<std::vector<ValueKey>> keys_;  ///< the keys of its values, and
    std::vector<std::optional<ColumnWords>> columnWords_;  ///< its words
    std::string common_;
    std::string valuePaths_;
    std::string words_;
    std::vector<std::uint32_t> checksums_;  ///< of the blocks
    std::atomic<std::size_t> next_ = 0;
    std::mutex mutex_;
    std::condition_variable allDone_;
    std::size_t done_ = 0;
    std::exception_ptr failure_;
};

}  // namespace zdbs::embedded

#endif
