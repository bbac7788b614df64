#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/document_loads.h"
#include "zdbs/admin/interruption.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/progress.h"
#include "zdbs/admin/visible_text.h"
#include "zdbs/admin/xml_sources.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {

namespace {

/** Is it the fault of this one file? Otherwise going on makes no sense. */
bool isFaultOfDocument(Status status) {
    constexpr auto firstOfLoading = static_cast<std::int32_t>(Status::fileUnreadable);
    return static_cast<std::int32_t>(status) >= firstOfLoading ||
           status == Status::documentExists || status == Status::badDocumentName ||
           status == Status::unknownDocument;
}

/** One run of `zdbs load` or `zdbs replace`. */
class LoadRun {
public:
    LoadRun(Load &target, const LoadRequest &request)
        : target_(target),
          request_(request),
          loads_(target, withEntities(request.options, request.entities)) {}

    /** Finds the sources first: what is not there is told before anything is loaded. */
    bool run() {
        findAll();
        checkName();
        Progress progress(totalSize(sources_));
        for (const XmlSource &source : sources_)
            load(source, progress);
        target_.commit();
        return bad_ == 0;
    }

    std::size_t bad() const { return bad_; }
    const DocumentLoads &loads() const { return loads_; }

private:
    void findAll() {
        for (const std::string &path : request_.paths)
            find([&] { return findXml(path, request_.choice); });
        if (request_.list.empty()) return;
        find([&] { return findListed(request_.list, request_.listEndsInNul, request_.choice); });
    }

    template <typename Find>
    void find(const Find &sources) {
        try {
            for (XmlSource &source : sources())
                sources_.push_back(std::move(source));
        } catch (const Failure &failure) {
            tolerate(failure);
        }
    }

    void checkName() {
        if (request_.name.empty()) return;
        if (sources_.size() != 1) throw UsageError("--name is for a single file");
        sources_.front().document = request_.name;
    }

    void load(const XmlSource &source, Progress &progress) {
        try {
            if (request_.replaces) target_.removeDocument(source.document);
            loads_.load(source, progress);
        } catch (const Failure &failure) {
            progress.clear();
            tolerate(failure);
        }
    }

    void tolerate(const Failure &failure) {
        if (!request_.skipsBad || !isFaultOfDocument(failure.status())) throw failure;
        writeMessage(visibleText(failure.what()));
        ++bad_;
    }

    Load &target_;
    const LoadRequest &request_;
    DocumentLoads loads_;
    std::vector<XmlSource> sources_;
    std::size_t bad_ = 0;
};

/** What a person at a terminal wants to know; programs have the status. */
void tellStored(const LoadRun &run) {
    if (outputWidth() > 0) writeOutput(run.loads().summary() + '\n');
}

}  // namespace

bool load(const HomeChoice &home, const LoadRequest &request) {
    const Interruption interruption;
    std::unique_ptr<Load> target;
    std::unique_ptr<LoadRun> run;
    try {
        target = home.open()->load(request.database, [&] { tellWaiting(request.database); });
        run = std::make_unique<LoadRun>(*target, request);
        if (run->run()) {
            tellStored(*run);
            return true;
        }
    } catch (const Failure &failure) {
        if (failure.status() == Status::stopped) throw Interrupted(interruptedLoad);
        if (!run) throw;
        writeMessage(visibleText(failure.what()));
        // The reader of the message would wonder about the files in front of the bad one.
        if (run->loads().documents() > 0) writeMessage("Nothing was stored.");
        return false;
    }
    writeMessage(documentsText(run->loads().documents()) + " stored, " +
                 std::to_string(run->bad()) + " skipped.");
    return false;
}

}  // namespace zdbs::admin
