// How a run of a writer becomes the newest state: its segments are brought into shape, and
// one transaction of the catalogue names them.
#include <algorithm>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/embedded/store/catalogue.h"
#include "zdbs/embedded/store/reserve.h"
#include "zdbs/embedded/store/writer_run.h"

namespace zdbs::embedded {

std::shared_ptr<const Segment> openSound(const Environment &environment,
                                         const StoredSegment &stored) {
    const auto file = environment.segmentFile(stored.record.file);
    try {
        auto segment = Segment::open(file);
        if (segment->header().frontChecksum != stored.record.checksum)
            segment->failDamaged("it is another segment");
        for (std::uint32_t i = 0; i < segment->blockCount(); ++i) {
            const SegmentPart block = segment->block(i);
            if (!segment->isSound(block.bytes))
                segment->failDamaged("the checksum of " + block.name);
        }
        return segment;
    } catch (const SegmentMissing &) {
        throw Failure(Status::homeDamaged, {file.native(), "the file is missing"});
    }
}

void Writer::Run::commit() {
    if (added_.empty() && removed_.empty()) return;
    for (const auto &[name, document] : added_)
        newRanges_.push_back(document.nodes);
    std::ranges::sort(newRanges_, {}, &RecordRange::first);
    for (const auto &[name, nodes] : removed_)
        removedFirsts_.insert(nodes.first);
    flush();
    dropEmptySegments();
    // Segments need room, which is not there when a removal has to make some.
    if (!added_.empty()) replace(tiersToMerge(segments_, limits_));
    commitState();
}

Compaction Writer::Run::compact(const ProgressReport &report) {
    const auto diskBytes = [&](const std::vector<StoredSegment> &segments) {
        std::uint64_t bytes = environment_->fileSize();
        for (const StoredSegment &segment : segments)
            bytes += segment.record.bytes;
        return bytes;
    };
    Compaction result;
    result.before = result.after = diskBytes(segments_);
    const auto groups = groupsToCompact(segments_, presentNodes(), limits_);
    if (groups.empty()) return result;
    replace(groups, report);
    commitState();
    result.after = diskBytes(segments_);
    return result;
}

// The nodes that still wait become a segment.
void Writer::Run::flush() {
    SegmentRows rows = builder_.takeRows();
    if (!rows.empty() && !documentsIn({record(rows.firstNode()), record(rows.lastNode())}).empty())
        segmentWriter_->write(part_, std::move(rows));
    const auto &written = segmentWriter_->finish();
    segments_.insert(segments_.end(), written.begin(), written.end());
}

void Writer::Run::dropEmptySegments() {
    std::ranges::sort(vacated_, {}, &RecordRange::first);
    const auto isEmpty = [&](const StoredSegment &segment) {
        return isTouched(segment) && documentsIn({segment.first, segment.last()}).empty();
    };
    std::vector<StoredSegment> left;
    for (const StoredSegment &segment : segments_)
        (isEmpty(segment) ? obsolete_ : left).push_back(segment);
    segments_ = std::move(left);
}

// Did nodes in it leave their document? The ranges in vacated_ do not overlap.
bool Writer::Run::isTouched(const StoredSegment &segment) const {
    const auto range = std::ranges::lower_bound(vacated_, segment.first, {}, &RecordRange::last);
    return range != vacated_.end() && range->first <= segment.last();
}

/** The documents, as they will be, that have some of these nodes; ascending. */
std::vector<DocumentRange> Writer::Run::documentsIn(RecordRange nodes) const {
    std::vector<DocumentRange> found;
    const ReadTransaction transaction(environment_);
    Catalogue(*environment_, transaction)
        .forEachDocumentFrom(nodes.first, [&](RecordId first, const DocumentRecord &document) {
            if (first > nodes.last) return false;
            const RecordId last = recordOf(partOf(first), document.last);
            if (last >= nodes.first && !removedFirsts_.contains(first))
                found.push_back({nodeOf(first), document.last, {}});
            return true;
        });
    auto added = std::ranges::lower_bound(newRanges_, nodes.first, {}, &RecordRange::last);
    for (; added != newRanges_.end() && added->first <= nodes.last; ++added)
        found.push_back({nodeOf(added->first), nodeOf(added->last), {}});
    return found;
}

/** How many nodes of each segment are in a document. Of committed states only. */
std::vector<std::uint32_t> Writer::Run::presentNodes() const {
    std::vector<std::uint32_t> present(segments_.size());
    std::size_t next = 0;
    const ReadTransaction transaction(environment_);
    Catalogue(*environment_, transaction)
        .forEachDocument([&](RecordId first, const DocumentRecord &document) {
            const RecordId last = recordOf(partOf(first), document.last);
            while (next < segments_.size() && segments_[next].last() < first)
                ++next;
            for (std::size_t i = next; i < segments_.size() && segments_[i].first <= last; ++i)
                present[i] += static_cast<std::uint32_t>(std::min(last, segments_[i].last()) -
                                                         std::max(first, segments_[i].first) + 1);
            return true;
        });
    return present;
}

/** Writes the segments of each group anew as one. */
void Writer::Run::replace(std::span<const SegmentGroup> groups, const ProgressReport &report) {
    std::uint64_t done = 0;
    std::uint64_t total = 0;
    for (const SegmentGroup &group : groups)
        total += bytesOf(group);
    std::vector<StoredSegment> left;
    std::size_t next = 0;
    const std::size_t before = segmentWriter_->finish().size();
    for (const SegmentGroup &group : groups) {
        for (; next < group.begin; ++next)
            left.push_back(segments_[next]);
        const auto members = std::span(segments_).subspan(group.begin, group.end - group.begin);
        SegmentRows rows = rowsOf(members);
        if (!rows.empty()) segmentWriter_->write(members.front().part(), std::move(rows));
        obsolete_.insert(obsolete_.end(), members.begin(), members.end());
        next = group.end;
        done += bytesOf(group);
        if (report) report(done, total);
    }
    for (; next < segments_.size(); ++next)
        left.push_back(segments_[next]);
    const auto &written = segmentWriter_->finish();
    left.insert(left.end(), written.begin() + static_cast<std::ptrdiff_t>(before), written.end());
    std::sort(left.begin(), left.end(),
              [](const StoredSegment &a, const StoredSegment &b) { return a.first < b.first; });
    segments_ = std::move(left);
}

std::uint64_t Writer::Run::bytesOf(const SegmentGroup &group) const {
    std::uint64_t bytes = 0;
    for (std::size_t i = group.begin; i < group.end; ++i)
        bytes += segments_[i].record.bytes;
    return bytes;
}

SegmentRows Writer::Run::rowsOf(std::span<const StoredSegment> segments) const {
    SegmentRows rows;
    for (const StoredSegment &stored : segments) {
        const auto documents = documentsIn({stored.first, stored.last()});
        if (documents.empty()) continue;
        const auto segment = openSound(*environment_, stored);
        rows.addSegment(*segment, paths_.all(), documents);
        segment->requireIntact();
    }
    return rows;
}

void Writer::Run::commitState() {
    if (!segmentWriter_->finish().empty()) {
        try {
            syncDirectory(environment_->segmentsDirectory());
        } catch (const Failure &) {
            environment_->markBroken();
            throw;
        }
    }
    if (!added_.empty()) return writeState();
    Reserve(homeOf(environment_->directory())).use([this] { writeState(); });
}

void Writer::Run::writeState() {
    mayBeCommitted_ = true;
    try {
        WriteTransaction::run(*environment_,
                              [this](WriteTransaction &transaction) { putState(transaction); });
    } catch (...) {
        mayBeCommitted_ = environment_->isCommitUncertain();
        throw;
    }
    removeObsoleteFiles();
}

void Writer::Run::putState(WriteTransaction &transaction) const {
    for (const auto &[name, nodes] : removed_)
        removeDocument(transaction, name, nodes.first);
    for (const auto &[name, document] : added_)
        putDocument(transaction, name, document);
    for (std::size_t i = committed_.nameCount; i < names_.size(); ++i)
        transaction.put(Table::names, encodeKey(static_cast<std::uint32_t>(i)), names_.record(i));
    for (std::size_t i = committed_.pathCount; i < paths_.size(); ++i)
        transaction.put(Table::paths, encodeKey(static_cast<std::uint32_t>(i)),
                        encodePath(paths_[static_cast<PathId>(i)]));
    putSegments(transaction);
    transaction.put(Table::meta, stateKey, encodeState(newState()));
    if (part_ != 0 && committed_.lastPart == 0)
        transaction.put(Table::meta, versionKey, encodeNumber(formatOfParts));
}

void Writer::Run::putSegments(WriteTransaction &transaction) const {
    for (const StoredSegment &segment : obsolete_)
        transaction.remove(Table::segments, encodeKey(segment.first));
    for (const StoredSegment &segment : segments_) {
        if (segment.record.file >= committed_.nextSegment)
            transaction.put(Table::segments, encodeKey(segment.first),
                            encodeSegment(segment.record));
    }
}

// Readers that have them mapped keep them.
void Writer::Run::removeObsoleteFiles() const {
    for (const StoredSegment &segment : obsolete_)
        environment_->removeSegmentFile(segment.record.file);
}

StateRecord Writer::Run::newState() const {
    StateRecord state = committed_;
    ++state.state;
    state.documents += added_.size();
    state.documents -= removed_.size();
    for (const auto &[name, document] : added_)
        state.nodes += document.nodes.size();
    for (const auto &[name, nodes] : removed_)
        state.nodes -= nodes.size();
    state.lastPart = part_;
    state.nextNode = static_cast<NodeId>(nextNode_);
    state.nameCount = static_cast<std::uint32_t>(names_.size());
    state.pathCount = static_cast<std::uint32_t>(paths_.size());
    state.nextSegment = segmentWriter_->nextFile();
    return state;
}

void Writer::Run::putDocument(WriteTransaction &transaction, const std::string &name,
                              const NewDocument &document) const {
    const RecordId first = document.nodes.first;
    transaction.put(Table::documents, encodeKey(first),
                    encodeDocument({nodeOf(document.nodes.last), document.xmlBytes, name}));
    if (!document.longElements.empty())
        transaction.put(Table::longElements, encodeKey(first), document.longElements);
    const std::string key = documentNameKey(name);
    transaction.put(
        Table::documentNames, key,
        transaction.get(Table::documentNames, key).value_or("") + encodeRecords({first}));
}

// Documents whose names have the same hash share a record.
void Writer::Run::removeDocument(WriteTransaction &transaction, const std::string &name,
                                 RecordId first) {
    transaction.remove(Table::documents, encodeKey(first));
    transaction.remove(Table::longElements, encodeKey(first));
    const std::string key = documentNameKey(name);
    auto documents = decodeRecords(transaction.get(Table::documentNames, key).value_or(""));
    if (!documents) return;
    std::erase(*documents, first);
    if (documents->empty())
        transaction.remove(Table::documentNames, key);
    else
        transaction.put(Table::documentNames, key, encodeRecords(*documents));
}

}  // namespace zdbs::embedded
