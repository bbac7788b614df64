#include "zdbs/store/snapshot.h"

#include <algorithm>
#include <cassert>
#include <string>
#include <utility>

#include "zdbs/status/status.h"
#include "zdbs/store/environment.h"
#include "zdbs/store/node_block.h"

namespace zdbs {

namespace {

constexpr unsigned bucketBits = 12;  // nodes of one entry of the index of blocks, as a power of two

StateRecord readState(const ReadTransaction &transaction, const Environment &environment) {
    const auto bytes = transaction.get(Table::meta, stateKey);
    const auto state = bytes ? decodeState(*bytes) : std::nullopt;
    if (state) return *state;
    throw Failure(Status::homeDamaged, {environment.directory().native(), "it has no state"});
}

}  // namespace

Snapshot::Snapshot(std::shared_ptr<Environment> environment)
    : environment_(std::move(environment)),
      transaction_(std::make_unique<ReadTransaction>(environment_)),
      state_(readState(*transaction_, *environment_)) {
    readNames();
    readDocuments();
    readBlocks();
    checkBlocks();
    indexBlocks();
    readLongElements();
    measure();
}

Snapshot::~Snapshot() = default;

std::uint64_t Snapshot::newestState(const std::shared_ptr<Environment> &environment) {
    return readState(ReadTransaction(environment), *environment).state;
}

void Snapshot::readNames() {
    transaction_->forEach(Table::names, [&](std::string_view key, std::string_view record) {
        const auto name = decodeName(record);
        if (!name || decodeKey(key) != names_.size()) failDamaged("a name");
        names_.push_back(*name);
        return true;
    });
    if (names_.size() != state_.nameCount) failDamaged("the number of names");
}

void Snapshot::readDocuments() {
    transaction_->forEach(Table::documents, [&](std::string_view key, std::string_view record) {
        const auto first = decodeKey(key);
        const auto document = decodeDocument(record);
        if (!first || !document || *first == noNode || document->last < *first)
            failDamaged("a document");
        documents_.push_back({*first, document->last, document->name});
        xmlBytes_.push_back(document->xmlBytes);
        return true;
    });
    if (documents_.size() != state_.documents) failDamaged("the number of documents");
}

void Snapshot::readBlocks() {
    transaction_->forEach(Table::blocks, [&](std::string_view key, std::string_view record) {
        const auto first = decodeKey(key);
        if (!first) failDamaged("a block");
        if (*first >= state_.nextNode) return false;  // of a load that is not committed
        if (!NodeBlock::isWhole(record)) failDamaged("a block");
        const auto *data = reinterpret_cast<const std::byte *>(record.data());
        blocks_.push_back({*first, NodeBlock(data).count(), data});
        return true;
    });
}

// The blocks must be exactly the nodes of the documents.
void Snapshot::checkBlocks() const {
    auto block = blocks_.begin();
    std::uint64_t nodes = 0;
    for (const DocumentRange &document : documents_) {
        std::uint64_t next = document.first;
        for (; block != blocks_.end() && block->first == next && next <= document.last; ++block)
            next += block->count;
        if (next != std::uint64_t{document.last} + 1) failDamaged("the blocks of a document");
        nodes += next - document.first;
    }
    if (block != blocks_.end() || nodes != state_.nodes) failDamaged("the number of nodes");
}

// firstBlock_[b] is the block of the first node of bucket b or, when that number is not used,
// the one before it.
void Snapshot::indexBlocks() {
    const std::size_t buckets = (state_.nextNode >> bucketBits) + 2;
    firstBlock_.reserve(buckets);
    std::uint32_t block = 0;
    for (std::size_t bucket = 0; bucket < buckets; ++bucket) {
        while (block + 1 < blocks_.size() && blocks_[block + 1].first <= bucket << bucketBits)
            ++block;
        firstBlock_.push_back(block);
    }
}

void Snapshot::readLongElements() {
    transaction_->forEach(Table::longElements, [&](std::string_view key, std::string_view record) {
        const auto first = decodeKey(key);
        if (first && *first >= state_.nextNode) return false;
        const auto elements = decodeLongElements(record);
        if (!first || !elements) failDamaged("a list of long elements");
        longElements_.insert(longElements_.end(), elements->begin(), elements->end());
        return true;
    });
}

void Snapshot::measure() {
    const auto bytes = [&](Table table) { return transaction_->size(table).bytes; };
    sizes_.file = environment_->fileSize();
    sizes_.nodes = bytes(Table::blocks) + bytes(Table::longElements);
    sizes_.documents = bytes(Table::documents) + bytes(Table::documentNames);
    sizes_.names = bytes(Table::names);
    const std::uint64_t used = sizes_.nodes + sizes_.documents + sizes_.names;
    sizes_.unused = sizes_.file - std::min(used, sizes_.file);
}

const Snapshot::Block &Snapshot::blockOf(NodeId node) const {
    assert(node != noNode && node < state_.nextNode);
    const std::size_t bucket = node >> bucketBits;
    const auto begin = blocks_.begin() + firstBlock_[bucket];
    const auto end = blocks_.begin() + firstBlock_[bucket + 1] + 1;
    const auto behind = std::upper_bound(
        begin, end, node, [](NodeId number, const Block &block) { return number < block.first; });
    const Block &block = *(behind - 1);
    assert(block.first <= node && node - block.first < block.count);
    return block;
}

NodeKind Snapshot::kind(NodeId node) const {
    const Block &block = blockOf(node);
    return NodeBlock(block.data).kind(node - block.first);
}

NodeId Snapshot::parent(NodeId node) const {
    const Block &block = blockOf(node);
    const std::uint32_t distance = NodeBlock(block.data).parentDistance(node - block.first);
    return distance == 0 ? noNode : node - distance;
}

NodeId Snapshot::lastBelow(NodeId node) const {
    const Block &block = blockOf(node);
    const std::uint32_t below = NodeBlock(block.data).below(node - block.first);
    if (below != endsLater) return node + below;
    const auto element = std::lower_bound(
        longElements_.begin(), longElements_.end(), node,
        [](const LongElement &listed, NodeId number) { return listed.node < number; });
    if (element == longElements_.end() || element->node != node) failDamaged("a long element");
    return element->last;
}

std::optional<std::uint32_t> Snapshot::nameNumber(NodeId node) const {
    const Block &block = blockOf(node);
    const std::uint32_t number = NodeBlock(block.data).name(node - block.first);
    if (number == noName) return std::nullopt;
    if (number >= names_.size()) failDamaged("the name of a node");
    return number;
}

NodeName Snapshot::name(NodeId node) const {
    const auto number = nameNumber(node);
    return number ? names_[*number] : NodeName{};
}

std::string_view Snapshot::value(NodeId node) const {
    const Block &block = blockOf(node);
    return NodeBlock(block.data).value(node - block.first);
}

std::vector<NamespaceDeclaration> Snapshot::namespaces(NodeId node) const {
    const Block &block = blockOf(node);
    std::vector<NamespaceDeclaration> declarations;
    for (const std::uint32_t number : NodeBlock(block.data).namespaces(node - block.first)) {
        if (number >= names_.size()) failDamaged("a namespace declaration");
        declarations.push_back({names_[number].prefix, names_[number].uri});
    }
    return declarations;
}

std::optional<DocumentRange> Snapshot::findDocument(std::string_view name) const {
    const auto found =
        std::find_if(documents_.begin(), documents_.end(),
                     [&](const DocumentRange &document) { return document.name == name; });
    if (found == documents_.end()) return std::nullopt;
    return *found;
}

void Snapshot::failDamaged(std::string_view what) const {
    throw Failure(Status::homeDamaged, {environment_->directory().native(), what});
}

}  // namespace zdbs
