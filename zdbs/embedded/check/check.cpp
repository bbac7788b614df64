#include "zdbs/embedded/check/check.h"
#include "zdbs/base/directory.h"

#include <algorithm>
#include <exception>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "zdbs/base/status.h"
#include "zdbs/embedded/check/catalogue_tables.h"
#include "zdbs/embedded/check/segment_check.h"
#include "zdbs/embedded/check/tree_check.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/committed_state.h"
#include "zdbs/embedded/store/data_file.h"
#include "zdbs/embedded/store/environment.h"
#include "zdbs/embedded/store/segment.h"
#include "zdbs/embedded/store/writer.h"

namespace zdbs::embedded {

namespace {

namespace fs = std::filesystem;

/** Not damage, but a reason why nothing can be checked. */
bool preventsChecking(Status status) {
    return status == Status::unknownDatabase || status == Status::homeUnreadable ||
           status == Status::homeVersion || status == Status::outOfMemory;
}

/** A commit has removed files of the state that is being checked. */
struct StateHasGone {};

/** One check of one state. */
class Check {
public:
    Check(fs::path directory, const CheckOptions &options)
        : directory_(std::move(directory)),
          options_(options),
          findings_(options.mostOfAStructure, options.mostOfAll) {}

    CheckReport run() {
        try {
            if (checkPages()) checkState();
        } catch (const Failure &failure) {
            if (preventsChecking(failure.status())) throw;
            findings_.add(Environment::dataFileName, "catalogue", failure.what());
        }
        noteFiles();
        report_.found = findings_.count();
        report_.findings = findings_.take();
        return std::move(report_);
    }

private:
    bool checkPages() {
        const auto pages =
            checkDataFile(directory_ / Environment::dataFileName, options_.mostOfAStructure);
        for (const std::string &finding : pages.findings)
            findings_.add(Environment::dataFileName, "pages", finding);
        return pages.findings.empty();
    }

    void checkState() {
        const auto environment = Environment::open(directory_);
        const ReadTransaction transaction(environment);
        auto tables = CatalogueReader(transaction, findings_).read();
        if (!tables) return;
        tables_ = std::move(*tables);
        hasTables_ = true;
        // All at once: those that are open stay, whatever a writer does meanwhile.
        std::vector<std::vector<std::shared_ptr<const Segment>>> files;
        for (const PartTables &part : tables_.parts) {
            report_.documents += part.documents.size();
            files.emplace_back();
            for (const StoredSegment &segment : part.segments) {
                files.back().push_back(open(segment, environment));
                total_ += 2 * segment.record.bytes;
            }
        }
        for (std::size_t number = 0; number < files.size(); ++number)
            checkPart(tables_.parts[number], std::exchange(files[number], {}));
    }

    void checkPart(const PartTables &part, std::vector<std::shared_ptr<const Segment>> files) {
        TreeCheck tree(tables_, part, findings_);
        for (std::size_t i = 0; i < files.size(); ++i)
            checkSegment(part.segments[i], std::exchange(files[i], nullptr), tree);
        tree.finish();
        report_.nodes += tree.nodes();
    }

    void checkSegment(const StoredSegment &stored, std::shared_ptr<const Segment> file,
                      TreeCheck &tree) {
        const std::uint64_t before = done_;
        if (file) {
            SegmentCheck check(tables_, findings_);
            check.onProgress([&](std::uint64_t bytes) { progress(done_ + bytes); });
            const CheckedSegment checked = check.run(stored, std::move(file));
            if (checked.hasNodes)
                tree.add(checked);
            else
                tree.skip(stored);
            ++report_.segments;
        } else {
            tree.skip(stored);
        }
        progress(before + 2 * stored.record.bytes);
    }

    std::shared_ptr<const Segment> open(const StoredSegment &stored,
                                        const std::shared_ptr<Environment> &environment) {
        const std::string name = environment->segmentFile(stored.record.file).filename();
        const std::string place = std::string(Environment::segmentsName) + "/" + name;
        try {
            return environment->segment(stored.record.file);
        } catch (const SegmentMissing &) {
            environment->requirePlace();
            if (CommittedState::newest(environment) != tables_.state.state) throw StateHasGone();
            findings_.add(place, "file", "it is missing");
        } catch (const Failure &failure) {
            if (failure.status() == Status::outOfMemory) throw;
            findings_.add(place, "file", failure.what());
        }
        return nullptr;
    }

    void progress(std::uint64_t done) {
        done_ = done;
        if (options_.progress) options_.progress(std::min(done, total_), total_);
    }

    /** Files that are no part of the database. */
    void noteFiles() {
        const std::set<std::string> known = {Environment::dataFileName, "lock.mdb",
                                             Writer::lockFileName, Environment::segmentsName,
                                             Home::notesFileName};
        for (const std::string &name : namesIn(directory_)) {
            if (!known.contains(name)) report_.notes.push_back(name + ": no file of a database");
        }
        if (!hasTables_) return;
        std::set<std::string> named;
        for (const PartTables &part : tables_.parts) {
            for (const StoredSegment &segment : part.segments)
                named.insert(segmentName(segment.record.file));
        }
        const std::string folder = Environment::segmentsName;
        for (const std::string &name : namesIn(directory_ / folder)) {
            if (!named.contains(name))
                report_.notes.push_back(folder + "/" + name +
                                        ": no segment of the newest state; a load that is "
                                        "running or was cut short has left it");
        }
    }

    static std::string segmentName(std::uint32_t number) {
        const std::string digits = std::to_string(number);
        return std::string(digits.size() < 8 ? 8 - digits.size() : 0, '0') + digits + ".seg";
    }

    static std::set<std::string> namesIn(const fs::path &directory) {
        std::set<std::string> names;
        std::error_code error;
        for (std::string &name : zdbs::namesIn(directory, error))
            names.insert(std::move(name));
        return names;
    }

    fs::path directory_;
    const CheckOptions &options_;
    Findings findings_;
    CheckReport report_;
    CatalogueTables tables_;
    bool hasTables_ = false;
    std::uint64_t done_ = 0;
    std::uint64_t total_ = 0;
};

}  // namespace

CheckReport checkDatabase(const fs::path &directory, const CheckOptions &options) {
    for (;;) {
        try {
            return Check(directory, options).run();
        } catch (const StateHasGone &) {
            continue;  // there is a newer one
        }
    }
}

}  // namespace zdbs::embedded
