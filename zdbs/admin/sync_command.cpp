#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/document_loads.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/source_notes.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/answers/sizes.h"

namespace zdbs::admin {

namespace {

using FirstRecords = std::map<std::string, RecordId, std::less<>>;  ///< of documents

FirstRecords firstRecords(const Administration &home, const std::string &database) {
    FirstRecords firsts;
    const auto documents = home.documents(database);
    for (const DocumentSummary &document : documents->list())
        firsts.emplace(document.name, document.first);
    return firsts;
}

/** Compares a folder with a database, and makes this what that is. */
class SyncRun {
public:
    SyncRun(Administration &home, const SyncRequest &request)
        : home_(home),
          request_(request),
          target_(home.load(request.database, [&] { tellWaiting(request.database); })),
          stored_(firstRecords(home, request.database)),
          notes_(readNotes(home.notes(request.database))) {}

    void run() {
        for (XmlSource &source : findInFolder(request_.directory, request_.choice))
            compare(std::move(source));
        if (request_.deletes) findGone();
        if (!changed_.empty() || !gone_.empty()) change();
        keepNotes();
    }

    std::string summary() const {
        return countText(changed_.size() - replaced_) + " added, " + countText(replaced_) +
               " replaced, " + countText(gone_.size()) + " removed, " + countText(unchanged_) +
               " unchanged\n";
    }

private:
    void compare(XmlSource source) {
        const auto [known, isNew] = found_.try_emplace(source.document, noteOf(source.file));
        if (!isNew)
            throw Failure(Status::fileUnreadable,
                          {source.label, "another file is document " + source.document + ", too"});
        const auto stored = stored_.find(source.document);
        if (stored != stored_.end() && isSame(source, stored->second, known->second)) {
            ++unchanged_;
            return;
        }
        if (known->second.digest.empty()) known->second.digest = digestOf(source.file);
        replaced_ += stored != stored_.end() ? 1 : 0;
        changed_.push_back(std::move(source));
    }

    /** Where size or time tell nothing, the content does; the note of it is completed. */
    bool isSame(const XmlSource &source, RecordId first, SourceNote &file) const {
        const auto note = notes_.find(first);
        const bool isKnown = note != notes_.end() && note->second.document == source.document;
        const bool isUntouched = isKnown && file.time != 0 && note->second.time == file.time &&
                                 note->second.bytes == file.bytes;
        file.digest = isUntouched ? note->second.digest : digestOf(source.file);
        return isKnown && note->second.digest == file.digest;
    }

    /** Documents that are what this run is about, and whose files are no more. */
    void findGone() {
        const std::string prefix = request_.choice.documentOf("");
        for (const auto &[document, first] : stored_) {
            const bool isOurs = document.starts_with(prefix) &&
                                (request_.choice.patterns.empty() ||
                                 request_.choice.takes(document.substr(prefix.size())));
            if (isOurs && !found_.contains(document)) gone_.push_back(document);
        }
    }

    void change() {
        for (const std::string &document : gone_)
            target_->removeDocument(document);
        DocumentLoads loads(*target_, withEntities(request_.options, request_.entities));
        Progress progress(totalSize(changed_));
        for (const XmlSource &source : changed_) {
            if (stored_.contains(source.document)) target_->removeDocument(source.document);
            loads.load(source, progress);
        }
        target_->commit();
        stored_ = firstRecords(home_, request_.database);
    }

    /** Nobody else keeps notes meanwhile: the database is still ours to change. */
    void keepNotes() {
        SourceNotes notes;
        for (const auto &[document, first] : stored_) {
            const auto found = found_.find(document);
            const auto old = notes_.find(first);
            if (found != found_.end()) {
                found->second.document = document;
                notes.emplace(first, found->second);
            } else if (old != notes_.end()) {
                notes.insert(*old);
            }
        }
        if (notes != notes_) keep(textOf(notes));
    }

    void keep(const std::string &notes) {
        try {
            home_.keepNotes(request_.database, notes);
        } catch (const Failure &failure) {
            throw std::runtime_error(std::string(failure.what()) +
                                     " The documents are loaded; only the notes of them are not "
                                     "kept, so that the next sync loads them again.");
        }
    }

    Administration &home_;
    const SyncRequest &request_;
    std::unique_ptr<Load> target_;
    FirstRecords stored_;
    SourceNotes notes_;
    std::map<std::string, SourceNote, std::less<>> found_;  ///< by document
    std::vector<XmlSource> changed_;
    std::vector<std::string> gone_;
    std::uint64_t replaced_ = 0;
    std::uint64_t unchanged_ = 0;
};

}  // namespace

bool sync(const HomeChoice &home, const SyncRequest &request) {
    const Interruption interruption;
    const auto opened = home.open();
    try {
        SyncRun run(*opened, request);
        run.run();
        writeOutput(run.summary());
    } catch (const Failure &failure) {
        if (failure.status() == Status::stopped) throw Interrupted(interruptedLoad);
        writeMessage(visibleText(failure.what()));
        return false;
    }
    return true;
}

}  // namespace zdbs::admin
