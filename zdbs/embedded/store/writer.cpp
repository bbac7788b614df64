#include "zdbs/embedded/store/writer.h"

#include <utility>

#include "zdbs/embedded/store/writer_run.h"

namespace zdbs::embedded {

Writer::Writer(std::shared_ptr<Environment> environment, const std::function<void()> &waiting,
               const SegmentLimits &segmentLimits, const PathLimits &pathLimits)
    : run_(std::make_unique<Run>(std::move(environment), waiting, segmentLimits, pathLimits)) {}

Writer::~Writer() = default;

bool Writer::hasDocument(std::string_view document) const {
    return run_->hasDocument(document);
}

std::uint64_t Writer::maxNodes() const {
    return run_->nodesOfDocument();
}

void Writer::beginDocument(std::string_view document) {
    run_->begin(document);
}

void Writer::startElement(const NumberedName &name) {
    run_->builder().startElement(run_->nameNumber(name));
}

void Writer::attribute(const NumberedName &name, std::string_view value,
                       std::span<const HitRange> /*hits*/) {
    run_->builder().addLeaf(NodeKind::attribute, run_->nameNumber(name), value);
}

void Writer::text(std::string_view value, std::span<const HitRange> /*hits*/) {
    run_->builder().addLeaf(NodeKind::text, noName, value);
}

void Writer::comment(std::string_view value) {
    run_->builder().addLeaf(NodeKind::comment, noName, value);
}

void Writer::processingInstruction(std::string_view target, std::string_view value) {
    run_->builder().addLeaf(NodeKind::processingInstruction, run_->nameNumber(target), value);
}

void Writer::namespaceDeclaration(std::string_view prefix, std::string_view uri) {
    run_->builder().addNamespace(prefix, uri);
}

void Writer::endElement() {
    run_->builder().endElement();
}

void Writer::endDocument(std::uint64_t xmlBytes) {
    run_->end(xmlBytes);
}

void Writer::abandonDocument() {
    run_->abandon();
}

void Writer::removeDocument(std::string_view document) {
    run_->remove(document);
}

void Writer::commit() {
    run_->commit();
}

Compaction Writer::compact(const ProgressReport &report) {
    return run_->compact(report);
}

}  // namespace zdbs::embedded
