#include "zdbs/embedded/store/writer_run.h"
#include "zdbs/base/directory.h"

#include <cassert>
#include <cerrno>
#include <system_error>
#include <utility>

#include "zdbs/base/document_name.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/store/catalogue.h"
#include "zdbs/embedded/store/committed_state.h"

namespace zdbs::embedded {

namespace fs = std::filesystem;

Writer::Run::Run(std::shared_ptr<Environment> environment, const std::function<void()> &waiting,
                 const SegmentLimits &segmentLimits, const PathLimits &pathLimits)
    : environment_(std::move(environment)),
      limits_(segmentLimits),
      lock_(lockPath(), waiting),
      paths_(pathLimits),
      builder_(
          names_, paths_, limits_,
          [this](SegmentRows rows) { segmentWriter_->write(part_, std::move(rows)); },
          [this] { moveToNextPart(); }) {
    if (!lock_.isAt(lockPath())) throw Failure(Status::unknownDatabase, {databaseName()});
    if (environment_->readOnly()) throwWriteError(EROFS, lockPath());
    environment_->removeDeadReaders();
    environment_->noteLastCommit();
    readCommitted();
    removeLeftovers();
    segmentWriter_ = std::make_unique<SegmentWriter>(*environment_, committed_.nextSegment);
}

Writer::Run::~Run() {
    if (segmentWriter_ && !mayBeCommitted_) segmentWriter_->removeFrom(noNode);
}

void Writer::Run::readCommitted() {
    // What readers refuse gets no newer state, which they would refuse as well.
    CommittedState(environment_).requireIntact();
    const ReadTransaction transaction(environment_);
    const Catalogue catalogue(*environment_, transaction);
    committed_ = catalogue.state();
    part_ = committed_.lastPart;
    nextNode_ = committed_.nextNode;
    for (const NodeName &name : catalogue.names())
        names_.numberOf(name);
    for (const Path &path : catalogue.paths())
        paths_.addStored(path);
    segments_ = catalogue.segments();
}

// Of writers that were killed or gave up in need.
void Writer::Run::removeLeftovers() const {
    std::unordered_set<std::string> named;
    for (const StoredSegment &segment : segments_)
        named.insert(environment_->segmentFile(segment.record.file).filename().native());
    std::error_code error;
    for (const std::string &name : namesIn(environment_->segmentsDirectory(), error)) {
        std::error_code ignored;
        if (name.ends_with(".seg") && !named.contains(name))
            fs::remove(environment_->segmentsDirectory() / name, ignored);
    }
    // Backed up and restored by hand, an empty database may have lost it.
    if (error) makePrivateDirectory(environment_->segmentsDirectory());
}

std::optional<RecordRange> Writer::Run::findCommitted(std::string_view document) const {
    const ReadTransaction transaction(environment_);
    return Catalogue(*environment_, transaction).find(document);
}

bool Writer::Run::hasDocument(std::string_view document) const {
    const std::string name(document);
    if (added_.contains(name)) return true;
    return !removed_.contains(name) && findCommitted(document);
}

void Writer::Run::begin(std::string_view document) {
    if (!isValidDocumentName(document)) throw Failure(Status::badDocumentName, {document});
    if (hasDocument(document)) throw Failure(Status::documentExists, {document, databaseName()});
    document_ = document;
    told_.clear();
    if (nextNode_ > limits_.nodesOfPart) beginPart();
    namesBefore_ = names_.size();
    pathsBefore_ = paths_.size();
    builder_.begin(static_cast<NodeId>(nextNode_));
}

// The nodes that still wait are of the part before.
void Writer::Run::beginPart() {
    builder_.handOut();
    ++part_;
    nextNode_ = 1;
}

std::vector<StoredSegment> Writer::Run::writtenFrom(RecordId first) {
    std::vector<StoredSegment> written = segmentWriter_->finish();
    std::erase_if(written, [&](const StoredSegment &each) { return each.last() < first; });
    return written;
}

// Of the document that is being written the first segment may have earlier documents in it, too:
// as in abandon(), that one stays.
void Writer::Run::moveToNextPart() {
    builder_.handOut();
    const RecordId first = record(builder_.first());
    const DocumentRange document{builder_.first(), builder_.last(), {}};
    std::vector<std::shared_ptr<const Segment>> segments;
    for (const StoredSegment &written : writtenFrom(first))
        segments.push_back(openSound(*environment_, written));
    segmentWriter_->removeFrom(first);
    for (const StoredSegment &left : writtenFrom(first))
        vacated_.push_back({first, left.last()});
    namesBefore_ = names_.size();
    pathsBefore_ = paths_.size();
    ++part_;
    nextNode_ = 1;
    for (auto &segment : segments) {
        SegmentRows rows;
        rows.addSegment(*segment, paths_.all(), std::span(&document, 1));
        segment->requireIntact();
        segment.reset();
        rows.renumber(document.first - 1);
        segmentWriter_->write(part_, std::move(rows));
    }
    builder_.renumber();
}

std::uint32_t Writer::Run::learn(const NumberedName &name) {
    const std::uint32_t number = names_.numberOf(name.name);
    if (name.number >= told_.size()) told_.resize(name.number + std::size_t{1}, noName);
    return told_[name.number] = number;
}

void Writer::Run::end(std::uint64_t xmlBytes) {
    const NodeId last = builder_.end();
    assert(last != noNode);
    const auto &longElements = builder_.longElements();
    added_.emplace(document_,
                   NewDocument{{record(builder_.first()), record(last)},
                               xmlBytes,
                               longElements.empty() ? "" : encodeLongElements(longElements)});
    nextNode_ = std::uint64_t{last} + 1;
}

// A segment that was written with an earlier document in it stays. It has some nodes of the
// abandoned document then, whose numbers, names and paths are not given again.
void Writer::Run::abandon() {
    const RecordId first = record(builder_.first());
    segmentWriter_->removeFrom(first);
    const auto left = writtenFrom(first);
    builder_.abandon(left.empty() ? nodeOf(first) - 1 : left.back().record.last);
    if (!left.empty()) {
        vacated_.push_back({first, left.back().last()});
        nextNode_ = std::uint64_t{left.back().record.last} + 1;
        return;
    }
    names_.truncate(namesBefore_);
    paths_.truncate(pathsBefore_);
}

void Writer::Run::remove(std::string_view document) {
    const std::string name(document);
    const auto added = added_.find(name);
    if (added != added_.end()) {
        vacated_.push_back(added->second.nodes);
        added_.erase(added);
        return;
    }
    const auto nodes = removed_.contains(name) ? std::nullopt : findCommitted(document);
    if (!nodes) throw Failure(Status::unknownDocument, {document, databaseName()});
    vacated_.push_back(*nodes);
    removed_.emplace(name, *nodes);
}

}  // namespace zdbs::embedded
