#include "zdbs/embedded/store/writer.h"

#include <utility>

#include "zdbs/embedded/store/writer_run.h"

namespace zdbs {

Writer::Writer(std::shared_ptr<Environment> environment, const std::function<void()> &waiting,
               const SegmentLimits &segmentLimits, const PathLimits &pathLimits)
    : run_(std::make_unique<Run>(std::move(environment), waiting, segmentLimits, pathLimits)) {}

Writer::~Writer() = default;

bool Writer::hasDocument(std::string_view document) const {
    return run_->hasDocument(document);
}

void Writer::beginDocument(std::string_view document) {
    run_->begin(document);
}

std::uint32_t Writer::nameNumber(const NodeName &name) {
    return run_->names().numberOf(name);
}

NodeId Writer::startElement(std::uint32_t name) {
    return run_->builder().startElement(name);
}

NodeId Writer::attribute(std::uint32_t name, std::string_view value) {
    return run_->builder().addLeaf(NodeKind::attribute, name, value);
}

NodeId Writer::text(std::string_view value) {
    return run_->builder().addLeaf(NodeKind::text, noName, value);
}

NodeId Writer::comment(std::string_view value) {
    return run_->builder().addLeaf(NodeKind::comment, noName, value);
}

NodeId Writer::processingInstruction(std::string_view target, std::string_view value) {
    const std::uint32_t name = nameNumber({target, {}, {}});
    return run_->builder().addLeaf(NodeKind::processingInstruction, name, value);
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

}  // namespace zdbs
