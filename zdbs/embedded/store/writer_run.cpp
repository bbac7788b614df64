#include "zdbs/embedded/store/writer_run.h"
#include "zdbs/base/directory.h"

#include <cassert>
#include <cerrno>
#include <system_error>
#include <utility>

#include "zdbs/base/document_name.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/store/catalogue.h"
#include "zdbs/embedded/store/snapshot.h"

namespace zdbs::embedded {

namespace fs = std::filesystem;

Writer::Run::Run(std::shared_ptr<Environment> environment, const std::function<void()> &waiting,
                 const SegmentLimits &segmentLimits, const PathLimits &pathLimits)
    : environment_(std::move(environment)),
      limits_(segmentLimits),
      lock_(lockPath(), waiting),
      paths_(pathLimits),
      builder_(names_, paths_, limits_,
               [this](SegmentRows rows) { segmentWriter_->write(std::move(rows)); }) {
    if (!lock_.isAt(lockPath())) throw Failure(Status::unknownDatabase, {databaseName()});
    if (environment_->readOnly()) throwWriteError(EROFS, lockPath());
    environment_->removeDeadReaders();
    readCommitted();
    removeLeftovers();
    segmentWriter_ = std::make_unique<SegmentWriter>(*environment_, committed_.nextSegment);
}

Writer::Run::~Run() {
    if (segmentWriter_ && !mayBeCommitted_) segmentWriter_->removeFrom(noNode);
}

void Writer::Run::readCommitted() {
    // What readers refuse gets no newer state, which they would refuse as well.
    Snapshot(environment_).requireIntact();
    const ReadTransaction transaction(environment_);
    const Catalogue catalogue(*environment_, transaction);
    committed_ = catalogue.state();
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

std::optional<Writer::Run::NodeRange> Writer::Run::findCommitted(std::string_view document) const {
    const ReadTransaction transaction(environment_);
    const DocumentRange range = Catalogue(*environment_, transaction).find(document);
    if (range.first == noNode) return std::nullopt;
    return NodeRange{range.first, range.last};
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
    namesBefore_ = names_.size();
    pathsBefore_ = paths_.size();
    builder_.begin(static_cast<NodeId>(nextNode_));
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
                   NewDocument{{builder_.first(), last},
                               xmlBytes,
                               longElements.empty() ? "" : encodeLongElements(longElements)});
    nextNode_ = std::uint64_t{last} + 1;
}

// A segment that was written with an earlier document in it stays. It has some nodes of the
// abandoned document then, whose numbers, names and paths are not given again.
void Writer::Run::abandon() {
    const NodeId first = builder_.first();
    segmentWriter_->removeFrom(first);
    const auto &written = segmentWriter_->finish();
    const NodeId lastLeft = written.empty() ? noNode : written.back().record.last;
    builder_.abandon(lastLeft);
    if (lastLeft >= first) {
        vacated_.push_back({first, lastLeft});
        nextNode_ = std::uint64_t{lastLeft} + 1;
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
