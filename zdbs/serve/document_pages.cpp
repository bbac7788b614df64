#include <algorithm>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/answers/json.h"
#include "zdbs/answers/listings.h"
#include "zdbs/answers/node_output.h"
#include "zdbs/base/stop.h"
#include "zdbs/export/xml_writer.h"
#include "zdbs/load/archive.h"
#include "zdbs/load/loader.h"
#include "zdbs/serve/pages.h"
#include "zdbs/serve/problem.h"

namespace zdbs::serve {

namespace {

std::optional<std::size_t> placeOf(const StoredDocuments &documents, std::string_view name) {
    const auto &list = documents.list();
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const auto &document) { return document.name == name; });
    if (found == list.end()) return std::nullopt;
    return static_cast<std::size_t>(found - list.begin());
}

/** What is unpacked from an archive is no larger than what may be sent. */
class LimitedInput final : public Input {
public:
    /** Both must outlive it. @param left is counted down */
    LimitedInput(Input &inner, std::uint64_t &left) : inner_(inner), left_(left) {}

    std::size_t read(std::span<char> buffer) override {
        const std::size_t count = inner_.read(buffer);
        if (count > left_) throw Problem(413, "What is sent is larger than it may be, unpacked.");
        left_ -= count;
        return count;
    }

    std::uint64_t consumed() const override { return inner_.consumed(); }

private:
    Input &inner_;
    std::uint64_t &left_;
};

/** One transaction on a database, and what is told of it. */
class Change {
public:
    /** Waits for others who change it. Throws Problem(412) where If-Match names another state. */
    explicit Change(const Call &call)
        : call_(call),
          load_(call.service.home.load(call.database, [] { heedStop(); })),
          before_(call.service.home.documents(call.database)),
          loader_(*load_) {
        call.requireState(before_->state());
        loader_.onProgress([](const Input &) { heedStop(); });
    }

    bool has(const std::string &document) const { return placeOf(*before_, document).has_value(); }

    void remove(const std::string &document) {
        load_->removeDocument(document);
        removed_.push_back(document);
    }

    /** In the place of the one of its name, if there is one. */
    void put(Input &input, const std::string &document) {
        const bool isGone = std::find(removed_.begin(), removed_.end(), document) != removed_.end();
        if (has(document) && !isGone) load_->removeDocument(document);
        const DocumentSize size = loader_.load(input, document, document);
        stored_.push_back({document, 0, size.nodes, size.xmlBytes});
    }

    /** The answer comes after the commit; nobody else can have made another state before that. */
    void finish(unsigned status) {
        heedStop();
        load_->commit();
        const std::uint64_t state = call_.service.home.summary(call_.database).state;
        load_.reset();
        JsonWriter json;
        json.beginObject().key("database").value(call_.database).key("state").value(state);
        json.key("stored").beginArray();
        for (const DocumentSummary &document : stored_) {
            json.beginObject().key("document").value(document.name);
            json.key("nodes").value(document.nodes);
            json.key("xmlBytes").value(document.xmlBytes).endObject();
        }
        json.endArray().key("removed").beginArray();
        for (const std::string &document : removed_)
            json.value(document);
        ReplyHead head = call_.headFor(state);
        head.status = status;
        call_.reply.send(std::move(head), json.endArray().endObject().text() + '\n');
    }

private:
    const Call &call_;
    std::unique_ptr<Load> load_;
    std::unique_ptr<StoredDocuments> before_;
    Loader loader_;
    std::vector<DocumentSummary> stored_;
    std::vector<std::string> removed_;
};

}  // namespace

void listDocuments(const Call &call) {
    const auto documents = call.service.home.documents(call.database);
    if (call.isKnown(documents->state())) return;
    call.reply.begin(call.headFor(documents->state()));
    if (call.form == Form::json) return call.reply.write(documentsAsJson(documents->list()));
    if (call.form == Form::csv) call.reply.write("document,nodes,first,xmlBytes\r\n");
    for (const DocumentSummary &document : documents->list()) {
        call.reply.write(call.form == Form::plain
                             ? document.name + '\n'
                             : csvField(document.name) + ',' + std::to_string(document.nodes) +
                                   ',' + std::to_string(document.first) + ',' +
                                   std::to_string(document.xmlBytes) + "\r\n");
    }
}

void tellDocument(const Call &call) {
    const auto documents = call.service.home.documents(call.database);
    const auto place = placeOf(*documents, call.document);
    if (!place) throw Failure(Status::unknownDocument, {call.document, call.database});
    if (call.isKnown(documents->state())) return;
    call.reply.begin(call.headFor(documents->state()));
    ChunkSink sink([&](std::string_view piece) {
        heedStop();
        call.reply.write(piece);
    });
    XmlWriter writer(sink);
    documents->tell(*place, writer);
    sink.flush();
}

void putDocument(const Call &call) {
    Change change(call);
    const bool isNew = !change.has(call.document);
    if (!isNew && call.request.fields.ifNoneMatch == "*")
        throw Problem(412, "There is a document of this name.", Status::documentExists);
    change.put(*openText(call.request.body.text()), call.document);
    change.finish(isNew ? 201 : 200);
}

void removeDocument(const Call &call) {
    Change change(call);
    change.remove(call.document);
    change.finish(200);
}

void changeDocuments(const Call &call) {
    std::shared_ptr<Archive> archive;
    if (call.request.body.size() > 0) {
        archive = Archive::open(call.request.body.asFile());
        if (!archive) throw Problem(400, "What was sent is no archive.", Status::compressedDamaged);
    }
    Change change(call);
    for (const std::string &document : call.request.target.all("remove"))
        change.remove(document);
    std::uint64_t left = call.request.mostBody;
    for (std::size_t i = 0; archive && i < archive->entries().size(); ++i) {
        const std::unique_ptr<Input> packed = archive->open(i);
        LimitedInput input(*packed, left);
        change.put(input, archive->entries()[i].name);
    }
    change.finish(200);
}

}  // namespace zdbs::serve
