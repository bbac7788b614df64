#include "zdbs/embedded/store/committed_state.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "zdbs/embedded/store/catalogue.h"
#include "zdbs/embedded/store/environment.h"

namespace zdbs::embedded {

namespace {

void measure(const Segment &segment, StoreSizes &sizes) {
    sizes.storedNodes += segment.nodeCount();
    sizes.pathOfNode += segment.header().pathOfNodeBytes;
    sizes.names +=
        segment.header().declarationElementsBytes + segment.header().declarationNamesBytes;
    sizes.valueIndex += segment.header().valuePathsBytes;
    sizes.words += segment.header().wordsBytes;
    sizes.paths +=
        sizeof(SegmentHeader) + segment.stretches().size_bytes() + segment.directory().size_bytes();
    for (std::uint32_t local = 0; local < segment.directory().size(); ++local) {
        const SegmentPath &entry = segment.directory()[local];
        for (std::size_t column = 0; column + 1 < segmentColumnCount; ++column)
            sizes.structure += entry.sizes[column];
        const std::uint64_t bytes = entry.sizes.back();
        if (bytes == 0) continue;
        const ValueColumn::Sizes parts = segment.values(local).sizes();
        sizes.textOrder += parts.textOrder;
        sizes.numberOrder += parts.numberOrder;
        sizes.trigrams += parts.trigrams;
        const std::uint64_t indexes = parts.textOrder + parts.numberOrder + parts.trigrams;
        sizes.values += bytes - std::min(bytes, indexes);
    }
}

}  // namespace

CommittedState::CommittedState(std::shared_ptr<Environment> environment) {
    // A commit may have removed files after this read which ones there are; then there is a
    // newer state. Those of a database that was dropped are all gone.
    std::optional<std::uint64_t> missedState;
    while (!openNewest(environment)) {
        environment->requirePlace();
        if (missedState == number()) tables_->failDamaged("the file of a segment is missing");
        missedState = number();
    }
    makeParts();
    requireIntact();
}

/** False when the file of a segment was not there. */
bool CommittedState::openNewest(const std::shared_ptr<Environment> &environment) {
    tables_.reset();
    environment->requireSound();
    auto tables = std::make_shared<StateTables>();
    tables_ = tables;
    tables->environment = environment;
    tables->transaction = std::make_unique<ReadTransaction>(environment);
    commit_ = tables->transaction->commit();
    const Catalogue catalogue(*environment, *tables->transaction);
    tables->state = catalogue.state();
    contents_.assign(tables->state.lastPart + std::size_t{1}, {});
    if (!openSegments(catalogue)) return false;
    readTables(catalogue, *tables);
    return true;
}

bool CommittedState::openSegments(const Catalogue &catalogue) {
    for (const StoredSegment &stored : catalogue.segments()) {
        PartContent::OpenSegment segment{nodeOf(stored.first), stored.record.last, nullptr};
        try {
            segment.file = tables_->environment->segment(stored.record.file);
        } catch (const SegmentMissing &) {
            return false;
        }
        const SegmentHeader &header = segment.file->header();
        if (header.frontChecksum != stored.record.checksum || header.firstNode != segment.first ||
            header.lastNode != segment.last)
            segment.file->failDamaged("it is another segment");
        contents_[stored.part()].segments.push_back(std::move(segment));
    }
    return true;
}

void CommittedState::readTables(const Catalogue &catalogue, StateTables &tables) {
    tables.names = catalogue.names();
    for (const Path &path : catalogue.paths())
        tables.summary.add(path);
    catalogue.forEachLongElements([&](PartNumber part, std::span<const LongElement> elements) {
        auto &all = contents_[part].longElements;
        all.insert(all.end(), elements.begin(), elements.end());
    });
    std::uint64_t documents = 0;
    catalogue.forEachDocument([&](RecordId first, const DocumentRecord &document) {
        PartContent &part = contents_[partOf(first)];
        part.documents.push_back({nodeOf(first), document.last, document.name});
        part.xmlBytes.push_back(document.xmlBytes);
        ++documents;
        return true;
    });
    if (documents != tables.state.documents) tables.failDamaged("the number of documents");
}

void CommittedState::makeParts() {
    std::uint64_t nodes = 0;
    for (PartContent &content : std::exchange(contents_, {})) {
        parts_.push_back(std::make_shared<const Snapshot>(tables_, std::move(content)));
        nodes += parts_.back()->nodeCount();
    }
    if (nodes != nodeCount()) tables_->failDamaged("the number of nodes");
}

bool CommittedState::isNewest() const {
    const Environment &environment = *tables_->environment;
    return environment.isAtItsPlace() && environment.lastCommit() == commit_;
}

void CommittedState::requireIntact() const {
    for (const auto &part : parts_)
        part->requireIntact();
}

std::uint64_t CommittedState::newest(const std::shared_ptr<Environment> &environment) {
    environment->requireSound();
    const ReadTransaction transaction(environment);
    return Catalogue(*environment, transaction).state().state;
}

std::uint64_t CommittedState::diskBytes() const {
    std::uint64_t bytes = tables_->environment->fileSize();
    for (const auto &part : parts_) {
        for (std::size_t i = 0; i < part->segmentCount(); ++i)
            bytes += part->segment(i).diskBytes();
    }
    return bytes;
}

StoreSizes CommittedState::sizes() const {
    StoreSizes sizes;
    for (const auto &part : parts_) {
        for (std::size_t i = 0; i < part->segmentCount(); ++i)
            measure(part->segment(i), sizes);
    }
    {
        const std::lock_guard lock(mutex_);
        const auto bytes = [&](Table table) { return tables_->transaction->size(table).bytes; };
        sizes.documents = bytes(Table::documents) + bytes(Table::documentNames);
        sizes.names += bytes(Table::names);
        sizes.paths += bytes(Table::paths) + bytes(Table::segments);
        sizes.structure += bytes(Table::longElements);
    }
    sizes.all = diskBytes();
    const std::uint64_t used = sizes.structure + sizes.pathOfNode + sizes.values + sizes.textOrder +
                               sizes.numberOrder + sizes.trigrams + sizes.words + sizes.valueIndex +
                               sizes.documents + sizes.names + sizes.paths;
    sizes.unused = sizes.all - std::min(used, sizes.all);
    return sizes;
}

}  // namespace zdbs::embedded
