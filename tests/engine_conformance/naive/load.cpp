/** A load as a list of documents that becomes the database's when it is committed. */
#include <algorithm>
#include <limits>
#include <utility>

#include "tests/engine_conformance/naive/location.h"
#include "zdbs/base/document_name.h"
#include "zdbs/base/status.h"

namespace zdbs::naive {
namespace {

class NaiveLoad final : public Load {
public:
    NaiveLoad(LocationPtr location, StoredPtr stored, std::string database)
        : location_(std::move(location)),
          stored_(std::move(stored)),
          database_(std::move(database)),
          documents_(stored_->forest->documents()),
          next_(stored_->next) {}

    ~NaiveLoad() override {
        const std::lock_guard lock(location_->mutex);
        stored_->isHeld = false;
        location_->released.notify_all();
    }

    NaiveLoad(const NaiveLoad &) = delete;
    NaiveLoad &operator=(const NaiveLoad &) = delete;

    std::uint64_t maxNodes() const override { return std::numeric_limits<std::int64_t>::max(); }

    void beginDocument(std::string_view document) override {
        if (!isValidDocumentName(document)) throw Failure(Status::badDocumentName, {document});
        if (find(document) != documents_.end())
            throw Failure(Status::documentExists, {document, database_});
        current_ = {std::string(document), next_, 0, {Node{}}};
        open_ = {0};
    }

    void endDocument(std::uint64_t xmlBytes) override {
        current_.nodes.front().last = current_.records();
        current_.xmlBytes = xmlBytes;
        next_ += current_.records();
        documents_.push_back(std::make_shared<const Document>(std::move(current_)));
    }

    void abandonDocument() override { current_ = {}; }

    void removeDocument(std::string_view document) override {
        const auto found = find(document);
        if (found == documents_.end())
            throw Failure(Status::unknownDocument, {document, database_});
        documents_.erase(found);
    }

    void commit() override {
        auto forest = std::make_shared<const Forest>(documents_);
        const std::lock_guard lock(location_->mutex);
        stored_->forest = std::move(forest);
        stored_->next = next_;
    }

    void startElement(const NumberedName &name) override {
        add(NodeKind::element, name.name, {});
        open_.push_back(current_.records());
    }

    void namespaceDeclaration(std::string_view prefix, std::string_view uri) override {
        current_.nodes[open_.back()].declarations.push_back(
            {std::string(prefix), std::string(uri)});
    }

    void attribute(const NumberedName &name, std::string_view value,
                   std::span<const HitRange>) override {
        add(NodeKind::attribute, name.name, value);
    }

    void text(std::string_view value, std::span<const HitRange>) override {
        add(NodeKind::text, {}, value);
    }

    void comment(std::string_view value) override { add(NodeKind::comment, {}, value); }

    void processingInstruction(std::string_view target, std::string_view value) override {
        add(NodeKind::processingInstruction, {target, {}, {}}, value);
    }

    void endElement() override {
        current_.nodes[open_.back()].last = current_.records();
        open_.pop_back();
    }

private:
    std::vector<DocumentPtr>::iterator find(std::string_view name) {
        return std::find_if(documents_.begin(), documents_.end(),
                            [name](const DocumentPtr &each) { return each->name == name; });
    }

    void add(NodeKind kind, const NodeName &name, std::string_view value) {
        current_.nodes.push_back({kind,
                                  std::string(name.local),
                                  std::string(name.prefix),
                                  std::string(name.uri),
                                  std::string(value),
                                  open_.back(),
                                  current_.nodes.size(),
                                  {}});
    }

    LocationPtr location_;
    StoredPtr stored_;
    std::string database_;
    std::vector<DocumentPtr> documents_;
    RecordId next_;
    Document current_;
    Places open_;  ///< the elements that have not ended, the root before them
};

}  // namespace

std::unique_ptr<Load> startLoad(LocationPtr location, std::string_view database,
                                const WaitingReport &waiting) {
    std::unique_lock lock(location->mutex);
    const StoredPtr stored = location->database(database);
    if (stored->isHeld && waiting) {
        lock.unlock();
        waiting();
        lock.lock();
    }
    location->released.wait(lock, [&] { return !stored->isHeld; });
    if (location->database(database) != stored) throw Failure(Status::unknownDatabase, {database});
    stored->isHeld = true;
    return std::make_unique<NaiveLoad>(location, stored, std::string(database));
}

}  // namespace zdbs::naive
