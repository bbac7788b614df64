#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/document_loads.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/progress.h"
#include "zdbs/base/status.h"
#include "zdbs/base/stop.h"
#include "zdbs/engine/registry.h"

namespace zdbs::admin {

namespace {

/** Hands the nodes of documents on, and shows how many that are. */
class Passage : public NodeEvents {
public:
    Passage(Load &target, const StoredDocuments &documents)
        : target_(target), progress_(xmlBytes(documents)) {
        for (const DocumentSummary &each : documents.list())
            nodes_ += each.nodes;
        if (nodes_ > 0)
            perNode_ = static_cast<double>(xmlBytes(documents)) / static_cast<double>(nodes_);
    }

    void startElement(const NumberedName &name) override {
        count();
        target_.startElement(name);
    }
    void namespaceDeclaration(std::string_view prefix, std::string_view uri) override {
        target_.namespaceDeclaration(prefix, uri);
    }
    void attribute(const NumberedName &name, std::string_view value,
                   std::span<const HitRange>) override {
        count();
        target_.attribute(name, value, unmarked);
    }
    void text(std::string_view value, std::span<const HitRange>) override {
        count();
        target_.text(value, unmarked);
    }
    void comment(std::string_view value) override {
        count();
        target_.comment(value);
    }
    void processingInstruction(std::string_view target, std::string_view value) override {
        count();
        target_.processingInstruction(target, value);
    }
    void endElement() override { target_.endElement(); }

private:
    static std::uint64_t xmlBytes(const StoredDocuments &documents) {
        std::uint64_t bytes = 0;
        for (const DocumentSummary &each : documents.list())
            bytes += each.xmlBytes;
        return bytes;
    }

    void count() {
        constexpr std::uint64_t often = 1000;
        if (++done_ % often != 0) return;
        heedStop();
        progress_.update(static_cast<std::uint64_t>(static_cast<double>(done_) * perNode_));
    }

    Load &target_;
    Progress progress_;
    std::uint64_t nodes_ = 0;
    std::uint64_t done_ = 0;
    double perNode_ = 0;  ///< bytes of XML
};

/** All documents of one state, as one transaction. */
void copyAll(const StoredDocuments &documents, Load &target) {
    Passage passage(target, documents);
    for (std::size_t place = 0; place < documents.list().size(); ++place) {
        const DocumentSummary &document = documents.list()[place];
        heedStop();
        target.beginDocument(document.name);
        documents.tell(place, passage);
        target.endDocument(document.xmlBytes);
    }
    target.commit();
}

/** A database to copy into, which is not there any more when nothing came of it. */
class NewDatabase {
public:
    NewDatabase(Administration &home, const std::string &name) : home_(home), name_(name) {
        const auto known = home.databases();
        if (std::find(known.begin(), known.end(), name) != known.end()) return;
        home.createDatabase(name);
        isMade_ = true;
    }
    ~NewDatabase() {
        interruption_.reset();
        try {
            if (isMade_) home_.dropDatabase(name_, {});
        } catch (const Failure &) {
            // What ended the copy is told; the next one takes the empty database.
        }
    }
    NewDatabase(const NewDatabase &) = delete;
    NewDatabase &operator=(const NewDatabase &) = delete;

    /** Throws Failure(databaseExists) when there is something in it. */
    void fill(const StoredDocuments &documents) {
        const auto load = home_.load(name_, [this] { tellWaiting(name_); });
        // The size of what is being loaded is not asked for: a server might wait for its end.
        if (!home_.documents(name_)->list().empty()) throw Failure(Status::databaseExists, {name_});
        copyAll(documents, *load);
        isMade_ = false;
    }

private:
    std::optional<Interruption> interruption_{std::in_place};  ///< from before it is made
    Administration &home_;
    const std::string &name_;
    bool isMade_ = false;
};

}  // namespace

bool copy(const HomeChoice &home, const CopyRequest &request) {
    const auto from = home.open();
    const auto to = administer(request.location);
    const std::string &name = request.name.empty() ? request.database : request.name;
    const auto documents = from->documents(request.database);
    try {
        NewDatabase(*to, name).fill(*documents);
    } catch (const Failure &failure) {
        if (failure.status() == Status::stopped)
            throw Interrupted("Interrupted. Nothing was copied.");
        throw;
    }
    if (outputWidth() > 0)
        writeOutput("Copied " + documentsText(documents->list().size()) +
                    "; users and grants were not.\n");
    return true;
}

}  // namespace zdbs::admin
