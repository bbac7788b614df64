#include "zdbs/store/writer.h"

#include <cassert>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "zdbs/status/status.h"
#include "zdbs/store/document_builder.h"
#include "zdbs/store/document_name.h"
#include "zdbs/store/environment.h"
#include "zdbs/store/name_dictionary.h"
#include "zdbs/store/private_files.h"
#include "zdbs/store/records.h"

namespace zdbs {

namespace {

struct NodeRange {
    NodeId first;
    NodeId last;
};

struct NewDocument {
    NodeRange nodes;
    std::uint64_t xmlBytes;
};

}  // namespace

/**
 * The state of a writer between its construction and its commit.
 *
 * Blocks of a large load are written in transactions of their own before the
 * last one. Nobody sees them: what counts is below StateRecord::nextNode, which
 * only the last transaction moves, and the next writer removes what a killed
 * one left above it.
 */
class Writer::Run {
public:
    Run(std::shared_ptr<Environment> environment, const std::function<void()> &waiting,
        std::size_t stageBytes)
        : environment_(std::move(environment)),
          stageBytes_(stageBytes),
          lock_(lockPath(), waiting),
          builder_(names_, [this](NodeId first, std::string block) {
              keepBack(Table::blocks, first, std::move(block));
          }) {
        if (!lock_.isAt(lockPath())) throw Failure(Status::unknownDatabase, {databaseName()});
        if (environment_->readOnly()) throwWriteError(EROFS, lockPath());
        environment_->removeDeadReaders();
        readCommitted();
    }

    ~Run() {
        if (!staged_) return;
        try {
            removeStagedFrom(committed_.nextNode);
        } catch (const std::exception &) {
            // It stays void all the same, and the next writer tries again.
        }
    }

    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    DocumentBuilder &builder() { return builder_; }
    bool hasDocument(std::string_view document) const;
    void begin(std::string_view document);
    void end(std::uint64_t xmlBytes);
    void abandon();
    void remove(std::string_view document);
    void commit();

private:
    struct KeptBack {
        Table table;
        NodeId key;
        std::string record;
    };

    std::filesystem::path lockPath() const { return environment_->directory() / lockFileName; }
    std::string databaseName() const { return environment_->directory().filename().native(); }

    void readCommitted();
    std::optional<NodeRange> findCommitted(std::string_view document) const;
    void keepBack(Table table, NodeId key, std::string record);
    void stage();
    void putKeptBack(WriteTransaction &transaction) const;
    void removeStagedFrom(NodeId first);
    StateRecord newState() const;
    void putDocument(WriteTransaction &transaction, const std::string &name,
                     const NewDocument &document) const;
    static void removeNodes(WriteTransaction &transaction, const NodeRange &nodes);
    static void removeName(WriteTransaction &transaction, const std::string &name, NodeId first);

    std::shared_ptr<Environment> environment_;
    std::size_t stageBytes_;
    FileLock lock_;
    StateRecord committed_;
    NameDictionary names_;
    DocumentBuilder builder_;
    std::uint64_t nextNode_ = 0;
    std::string document_;  ///< the one that is being written
    std::size_t namesBefore_ = 0;
    std::vector<KeptBack> keptBack_;
    std::size_t keptBackBytes_ = 0;
    bool staged_ = false;
    std::unordered_map<std::string, NewDocument> added_;
    std::unordered_map<std::string, NodeRange> removed_;
    std::vector<NodeRange> forgotten_;  ///< of documents added and removed in this run
};

void Writer::Run::readCommitted() {
    const ReadTransaction transaction(environment_);
    const auto bytes = transaction.get(Table::meta, stateKey);
    const auto state = bytes ? decodeState(*bytes) : std::nullopt;
    if (!state)
        throw Failure(Status::homeDamaged, {environment_->directory().native(), "it has no state"});
    committed_ = *state;
    nextNode_ = committed_.nextNode;
    transaction.forEach(Table::names, [&](std::string_view, std::string_view record) {
        names_.addStored(record);
        return true;
    });
    const std::string key = encodeKey(committed_.nextNode);
    if (transaction.hasFrom(Table::blocks, key) || transaction.hasFrom(Table::longElements, key))
        removeStagedFrom(committed_.nextNode);
}

std::optional<NodeRange> Writer::Run::findCommitted(std::string_view document) const {
    const ReadTransaction transaction(environment_);
    const auto bytes = transaction.get(Table::documentNames, documentNameKey(document));
    const auto numbers = bytes ? decodeNumbers(*bytes) : std::nullopt;
    if (!numbers) return std::nullopt;
    for (const NodeId first : *numbers) {
        const auto recordBytes = transaction.get(Table::documents, encodeKey(first));
        const auto record = recordBytes ? decodeDocument(*recordBytes) : std::nullopt;
        if (record && record->name == document) return NodeRange{first, record->last};
    }
    return std::nullopt;
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
    namesBefore_ = names_.size();
    builder_.begin(static_cast<NodeId>(nextNode_));
}

void Writer::Run::end(std::uint64_t xmlBytes) {
    const NodeId last = builder_.end();
    assert(last != noNode);
    if (!builder_.longElements().empty())
        keepBack(Table::longElements, builder_.first(),
                 encodeLongElements(builder_.longElements()));
    added_.emplace(document_, NewDocument{{builder_.first(), last}, xmlBytes});
    nextNode_ = std::uint64_t{last} + 1;
}

void Writer::Run::abandon() {
    while (!keptBack_.empty() && keptBack_.back().key >= builder_.first()) {
        keptBackBytes_ -= keptBack_.back().record.size();
        keptBack_.pop_back();
    }
    if (staged_) removeStagedFrom(builder_.first());
    names_.truncate(namesBefore_);
}

void Writer::Run::remove(std::string_view document) {
    const std::string name(document);
    const auto added = added_.find(name);
    if (added != added_.end()) {
        forgotten_.push_back(added->second.nodes);
        added_.erase(added);
        return;
    }
    const auto nodes = removed_.contains(name) ? std::nullopt : findCommitted(document);
    if (!nodes) throw Failure(Status::unknownDocument, {document, databaseName()});
    removed_.emplace(name, *nodes);
}

void Writer::Run::keepBack(Table table, NodeId key, std::string record) {
    keptBackBytes_ += record.size();
    keptBack_.push_back({table, key, std::move(record)});
    if (keptBackBytes_ >= stageBytes_) stage();
}

void Writer::Run::stage() {
    staged_ = true;
    WriteTransaction::run(*environment_,
                          [&](WriteTransaction &transaction) { putKeptBack(transaction); });
    keptBack_.clear();
    keptBackBytes_ = 0;
}

void Writer::Run::putKeptBack(WriteTransaction &transaction) const {
    for (const KeptBack &kept : keptBack_)
        transaction.put(kept.table, encodeKey(kept.key), kept.record);
}

void Writer::Run::removeStagedFrom(NodeId first) {
    WriteTransaction::run(*environment_, [&](WriteTransaction &transaction) {
        transaction.removeRange(Table::blocks, encodeKey(first));
        transaction.removeRange(Table::longElements, encodeKey(first));
    });
}

void Writer::Run::commit() {
    if (added_.empty() && removed_.empty()) return;
    WriteTransaction::run(*environment_, [&](WriteTransaction &transaction) {
        putKeptBack(transaction);
        for (const NodeRange &nodes : forgotten_)
            removeNodes(transaction, nodes);
        for (const auto &[name, nodes] : removed_) {
            removeNodes(transaction, nodes);
            removeName(transaction, name, nodes.first);
        }
        for (const auto &[name, document] : added_)
            putDocument(transaction, name, document);
        for (std::size_t i = committed_.nameCount; i < names_.size(); ++i)
            transaction.put(Table::names, encodeKey(static_cast<std::uint32_t>(i)),
                            names_.record(i));
        transaction.put(Table::meta, stateKey, encodeState(newState()));
    });
    staged_ = false;
}

StateRecord Writer::Run::newState() const {
    StateRecord state = committed_;
    ++state.state;
    state.documents += added_.size();
    state.documents -= removed_.size();
    for (const auto &[name, document] : added_)
        state.nodes += document.nodes.last - document.nodes.first + 1;
    for (const auto &[name, nodes] : removed_)
        state.nodes -= nodes.last - nodes.first + 1;
    state.nextNode = static_cast<NodeId>(nextNode_);
    state.nameCount = static_cast<std::uint32_t>(names_.size());
    return state;
}

void Writer::Run::putDocument(WriteTransaction &transaction, const std::string &name,
                              const NewDocument &document) const {
    const NodeId first = document.nodes.first;
    transaction.put(Table::documents, encodeKey(first),
                    encodeDocument({document.nodes.last, document.xmlBytes, name}));
    const std::string key = documentNameKey(name);
    transaction.put(Table::documentNames, key,
                    transaction.get(Table::documentNames, key).value_or("") + encodeNumber(first));
}

void Writer::Run::removeNodes(WriteTransaction &transaction, const NodeRange &nodes) {
    transaction.removeRange(Table::blocks, encodeKey(nodes.first), encodeKey(nodes.last));
    transaction.remove(Table::longElements, encodeKey(nodes.first));
}

// Documents whose names have the same hash share a record.
void Writer::Run::removeName(WriteTransaction &transaction, const std::string &name, NodeId first) {
    transaction.remove(Table::documents, encodeKey(first));
    const std::string key = documentNameKey(name);
    auto numbers = decodeNumbers(transaction.get(Table::documentNames, key).value_or(""));
    if (!numbers) return;
    std::erase(*numbers, first);
    if (numbers->empty())
        transaction.remove(Table::documentNames, key);
    else
        transaction.put(Table::documentNames, key, encodeNumbers(*numbers));
}

Writer::Writer(std::shared_ptr<Environment> environment, const std::function<void()> &waiting,
               std::size_t stageBytes)
    : run_(std::make_unique<Run>(std::move(environment), waiting, stageBytes)) {}

Writer::~Writer() = default;

bool Writer::hasDocument(std::string_view document) const {
    return run_->hasDocument(document);
}

void Writer::beginDocument(std::string_view document) {
    run_->begin(document);
}

NodeId Writer::startElement(const NodeName &name) {
    return run_->builder().startElement(name);
}

NodeId Writer::attribute(const NodeName &name, std::string_view value) {
    return run_->builder().addLeaf(NodeKind::attribute, name, value);
}

NodeId Writer::text(std::string_view value) {
    return run_->builder().addNameless(NodeKind::text, value);
}

NodeId Writer::comment(std::string_view value) {
    return run_->builder().addNameless(NodeKind::comment, value);
}

NodeId Writer::processingInstruction(std::string_view target, std::string_view value) {
    return run_->builder().addLeaf(NodeKind::processingInstruction, {target, {}, {}}, value);
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

}  // namespace zdbs
