#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/admin/commands.h"
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
        : target_(target), request_(request), loader_(target, request.options) {}

    /** Finds the sources first: what is not there is told before anything is loaded. */
    bool run() {
        for (const std::string &path : request_.paths)
            find(path);
        checkName();
        Progress progress(totalSize());
        for (const XmlSource &source : sources_)
            load(source, progress);
        target_.commit();
        return bad_ == 0;
    }

    std::size_t bad() const { return bad_; }
    std::size_t loaded() const { return loaded_; }

private:
    void find(const std::string &path) {
        try {
            for (XmlSource &source : findXml(path))
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

    /** Of all that is to be read; 0 when that of a part is not known. */
    std::uint64_t totalSize() const {
        std::uint64_t total = 0;
        for (const XmlSource &source : sources_) {
            if (!source.size) return 0;
            total += *source.size;
        }
        return total;
    }

    void load(const XmlSource &source, Progress &progress) {
        std::uint64_t read = 0;
        try {
            const auto input = source.open();
            loader_.onProgress([&](const Input &at) {
                read = at.consumed();
                progress.update(done_ + read);
            });
            if (request_.replaces) target_.removeDocument(source.document);
            loader_.load(*input, source.label, source.document);
            ++loaded_;
        } catch (const Failure &failure) {
            progress.clear();
            tolerate(failure);
        }
        done_ += source.size.value_or(read);
    }

    void tolerate(const Failure &failure) {
        if (!request_.skipsBad || !isFaultOfDocument(failure.status())) throw failure;
        writeMessage(visibleText(failure.what()));
        ++bad_;
    }

    Load &target_;
    const LoadRequest &request_;
    Loader loader_;
    std::vector<XmlSource> sources_;
    std::uint64_t done_ = 0;
    std::size_t loaded_ = 0;
    std::size_t bad_ = 0;
};

std::string documentsText(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " document" : " documents");
}

}  // namespace

bool load(const HomeChoice &home, const LoadRequest &request) {
    const auto target = home.open()->load(request.database, [&] { tellWaiting(request.database); });
    LoadRun run(*target, request);
    try {
        if (run.run()) return true;
    } catch (const Failure &failure) {
        writeMessage(visibleText(failure.what()));
        // The reader of the message would wonder about the files in front of the bad one.
        if (run.loaded() > 0) writeMessage("Nothing was stored.");
        return false;
    }
    writeMessage(documentsText(run.loaded()) + " stored, " + std::to_string(run.bad()) +
                 " skipped.");
    return false;
}

}  // namespace zdbs::admin
