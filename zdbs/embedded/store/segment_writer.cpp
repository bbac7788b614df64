#include "zdbs/embedded/store/segment_writer.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/embedded/store/environment.h"

namespace zdbs::embedded {

namespace {

// Smaller ones are not worth a thread.
constexpr std::uint32_t fewNodes = 2000;
constexpr std::size_t fewBytes = std::size_t{64} * 1024;

}  // namespace

struct SegmentWriter::Job {
    Job(SegmentRows rows, std::filesystem::path path)
        : encoding(std::move(rows)), file(std::move(path)) {}

    void run() {
        try {
            record = encoding.write(file);
        } catch (...) {
            failure = std::current_exception();
        }
    }

    SegmentEncoding encoding;
    std::filesystem::path file;
    SegmentRecord record;
    std::exception_ptr failure;
    std::thread thread;
};

SegmentWriter::SegmentWriter(Environment &environment, std::uint32_t nextFile)
    : environment_(environment), nextFile_(nextFile) {}

SegmentWriter::~SegmentWriter() {
    if (job_ && job_->thread.joinable()) job_->thread.join();
}

void SegmentWriter::write(PartNumber part, SegmentRows rows) {
    wait();
    const bool isSmall = rows.nodeCount() < fewNodes && rows.valueBytes() < fewBytes;
    const std::uint32_t number = nextFile_++;
    const RecordId first = recordOf(part, rows.firstNode());
    auto job = std::make_unique<Job>(std::move(rows), environment_.segmentFile(number));
    written_.push_back({first, {}});
    written_.back().record.file = number;
    job_ = std::move(job);
    if (isSmall) return wait();
    try {
        job_->thread = std::thread([job = job_.get()] { job->run(); });
    } catch (const std::system_error &) {
        wait();  // no more threads: this one does it
    }
}

void SegmentWriter::wait() {
    complete();
    if (failure_) std::rethrow_exception(failure_);
}

void SegmentWriter::complete() noexcept {
    if (!job_) return;
    if (job_->thread.joinable()) {
        job_->encoding.help();
        job_->thread.join();
    } else {
        job_->run();
    }
    const auto job = std::move(job_);
    SegmentRecord &record = written_.back().record;
    const std::uint32_t number = record.file;
    record = job->record;
    record.file = number;
    if (!job->failure) return;
    failure_ = job->failure;
    environment_.markBroken();
}

const std::vector<StoredSegment> &SegmentWriter::finish() {
    wait();
    return written_;
}

// Also after a failure: what it left is in nobody's way, but takes room.
void SegmentWriter::removeFrom(RecordId first) noexcept {
    complete();
    while (!written_.empty() && written_.back().first >= first) {
        environment_.removeSegmentFile(written_.back().record.file);
        written_.pop_back();
    }
}

}  // namespace zdbs::embedded
