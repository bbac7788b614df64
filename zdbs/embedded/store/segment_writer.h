/** Writes segments behind the back of whoever fills the next one. */
#ifndef ZDBS_EMBEDDED_STORE_SEGMENT_WRITER_H
#define ZDBS_EMBEDDED_STORE_SEGMENT_WRITER_H

#include <cstdint>
#include <exception>
#include <memory>
#include <thread>
#include <vector>

#include "zdbs/embedded/store/records.h"
#include "zdbs/embedded/store/segment_encoding.h"

namespace zdbs::embedded {

class Environment;

/**
 * One segment at a time is encoded and written by another thread; who hands over the next
 * one or waits lends it a hand until it is done. Files get numbers from `nextFile` on. One
 * thread at a time may call.
 *
 * write() and finish() throw what went wrong in the other thread, Failure: diskFull,
 * storeFailed, homeReadOnly; then the environment is marked broken, and they throw it again.
 */
class SegmentWriter {
public:
    SegmentWriter(Environment &environment, std::uint32_t nextFile);

    /** Waits for the other thread. */
    ~SegmentWriter();
    SegmentWriter(const SegmentWriter &) = delete;
    SegmentWriter &operator=(const SegmentWriter &) = delete;

    /** The nodes of a part that these are. REQUIRES that there are rows. */
    void write(PartNumber part, SegmentRows rows);

    /** Waits until all is written; answers what was, in the order of write(). */
    const std::vector<StoredSegment> &finish();

    /** Finishes and removes the files of the segments whose first node is `first` or later. */
    void removeFrom(RecordId first) noexcept;

    /** The first number of a file that was not given. */
    std::uint32_t nextFile() const { return nextFile_; }

private:
    struct Job;
    void wait();
    void complete() noexcept;

    Environment &environment_;
    std::uint32_t nextFile_;
    std::vector<StoredSegment> written_;
    std::unique_ptr<Job> job_;
    std::exception_ptr failure_;  ///< of a job; final
};

}  // namespace zdbs::embedded

#endif
