/** What a Writer is made of. */
#ifndef ZDBS_EMBEDDED_STORE_WRITER_RUN_H
#define ZDBS_EMBEDDED_STORE_WRITER_RUN_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "zdbs/base/private_files.h"
#include "zdbs/embedded/store/document_builder.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/name_dictionary.h"
#include "zdbs/embedded/store/path_dictionary.h"
#include "zdbs/embedded/store/records.h"
#include "zdbs/embedded/store/segment.h"
#include "zdbs/embedded/store/segment_merge.h"
#include "zdbs/embedded/store/segment_writer.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs::embedded {

/**
 * Opens a segment and verifies it as a whole: what is copied must not get a good checksum by
 * that. Throws Failure: homeDamaged.
 */
std::shared_ptr<const Segment> openSound(const Environment &environment,
                                         const StoredSegment &stored);

/**
 * The state of a writer between its construction and its commit.
 *
 * Segments of a load are written before the commit. Nobody sees them, because the
 * catalogue does not name them; the next writer removes what a killed one left.
 */
class Writer::Run {
public:
    Run(std::shared_ptr<Environment> environment, const std::function<void()> &waiting,
        const SegmentLimits &segmentLimits, const PathLimits &pathLimits);
    ~Run();
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    DocumentBuilder &builder() { return builder_; }
    NodeId nodesOfDocument() const { return limits_.nodesOfDocument; }

    /** In the dictionary, of a name as whoever loads numbers it. */
    std::uint32_t nameNumber(const NumberedName &name) {
        const bool isKnown = name.number < told_.size() && told_[name.number] != noName;
        return isKnown ? told_[name.number] : learn(name);
    }
    std::uint32_t nameNumber(std::string_view target) { return names_.numberOf({target, {}, {}}); }

    bool hasDocument(std::string_view document) const;
    void begin(std::string_view document);
    void end(std::uint64_t xmlBytes);
    void abandon();
    void remove(std::string_view document);
    void commit();
    Compaction compact(const ProgressReport &report);

private:
    struct NewDocument {
        RecordRange nodes;
        std::uint64_t xmlBytes;
        std::string longElements;  ///< their record; empty when there are none
    };

    std::filesystem::path lockPath() const { return environment_->directory() / lockFileName; }
    std::string databaseName() const { return environment_->directory().filename().native(); }

    std::uint32_t learn(const NumberedName &name);
    void readCommitted();
    void removeLeftovers() const;
    std::optional<RecordRange> findCommitted(std::string_view document) const;

    RecordId record(NodeId node) const { return recordOf(part_, node); }
    void beginPart();
    void moveToNextPart();
    std::vector<StoredSegment> writtenFrom(RecordId first);

    void flush();
    void dropEmptySegments();
    void replace(std::span<const SegmentGroup> groups, const ProgressReport &report = {});
    std::uint64_t bytesOf(const SegmentGroup &group) const;
    SegmentRows rowsOf(std::span<const StoredSegment> segments) const;
    std::vector<DocumentRange> documentsIn(RecordRange nodes) const;
    std::vector<std::uint32_t> presentNodes() const;
    bool isTouched(const StoredSegment &segment) const;

    void commitState();
    void writeState();
    void putState(WriteTransaction &transaction) const;
    void putSegments(WriteTransaction &transaction) const;
    void removeObsoleteFiles() const;
    StateRecord newState() const;
    void putDocument(WriteTransaction &transaction, const std::string &name,
                     const NewDocument &document) const;
    static void removeDocument(WriteTransaction &transaction, const std::string &name,
                               RecordId first);

    std::shared_ptr<Environment> environment_;
    SegmentLimits limits_;
    FileLock lock_;
    StateRecord committed_;
    NameDictionary names_;
    PathDictionary paths_;
    std::vector<StoredSegment> segments_;  ///< committed; while committing what will be
    std::unique_ptr<SegmentWriter> segmentWriter_;
    DocumentBuilder builder_;
    PartNumber part_ = 0;              ///< the last one
    std::uint64_t nextNode_ = 0;       ///< in it
    std::string document_;             ///< the one that is being written
    std::vector<std::uint32_t> told_;  ///< its names, by the numbers that they are told with
    std::size_t namesBefore_ = 0;
    std::size_t pathsBefore_ = 0;
    std::unordered_map<std::string, NewDocument> added_;
    std::unordered_map<std::string, RecordRange> removed_;
    std::vector<RecordRange> vacated_;  ///< what no document has any more, since the last commit

    // While committing.
    std::vector<RecordRange> newRanges_;  ///< of added_, ascending
    std::unordered_set<RecordId> removedFirsts_;
    std::vector<StoredSegment> obsolete_;
    bool mayBeCommitted_ = false;  ///< the files may be named by the catalogue
};

}  // namespace zdbs::embedded

#endif
