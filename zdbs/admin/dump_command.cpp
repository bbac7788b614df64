#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/progress.h"
#include "zdbs/base/sink.h"
#include "zdbs/base/status.h"
#include "zdbs/embedded/fragments/serializer.h"
#include "zdbs/embedded/home/home.h"
#include "zdbs/embedded/store/snapshot.h"

namespace zdbs::admin {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void failWriting(const fs::path &path, int error) {
    throw Failure(Status::writeFailed, {path.native(), std::system_category().message(error)});
}

void writeDocument(const Snapshot &snapshot, const DocumentRange &document,
                   ChunkSink::Consumer consumer) {
    ChunkSink sink(std::move(consumer));
    XmlSerializer(snapshot, sink).writeDocument(document);
    sink.flush();
}

/** A new file that takes its place when it is complete. */
class OutputFile {
public:
    explicit OutputFile(fs::path path) : path_(std::move(path)), partPath_(path_) {
        partPath_ += ".part";
        file_.reset(std::fopen(partPath_.c_str(), "wb"));
        if (!file_) failWriting(path_, errno);
    }
    ~OutputFile() {
        if (!partPath_.empty()) ::remove(partPath_.c_str());
    }
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    void write(std::string_view text) {
        if (std::fwrite(text.data(), 1, text.size(), file_.get()) != text.size())
            failWriting(path_, errno);
    }

    void finish() {
        if (std::fclose(file_.release()) != 0) failWriting(path_, errno);
        if (::rename(partPath_.c_str(), path_.c_str()) != 0) failWriting(path_, errno);
        partPath_.clear();
    }

private:
    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };

    fs::path path_;
    fs::path partPath_;
    std::unique_ptr<std::FILE, Close> file_;
};

/** Documents on their way out, with a bar of how much of the loaded XML that is. */
class DumpRun {
public:
    explicit DumpRun(const Snapshot &snapshot) : snapshot_(snapshot) {}

    void writeAll(const fs::path &folder) {
        std::uint64_t total = 0;
        for (std::size_t i = 0; i < snapshot_.documents().size(); ++i)
            total += snapshot_.xmlBytes(i);
        Progress progress(total);
        for (const DocumentRange &document : snapshot_.documents())
            writeFile(document, folder, progress);
    }

    void writeFile(const DocumentRange &document, const fs::path &folder) {
        Progress progress(sizeOf(document));
        writeFile(document, folder, progress);
    }

    void writeOut(const DocumentRange &document) {
        // A bar between the lines of the document would be in the way.
        if (outputWidth() > 0) return writeDocument(snapshot_, document, writeOutput);
        Progress progress(sizeOf(document));
        writeDocument(snapshot_, document, [&](std::string_view text) {
            writeOutput(text);
            progress.update(done_ += text.size());
        });
    }

private:
    std::uint64_t sizeOf(const DocumentRange &document) const {
        const auto documents = snapshot_.documents();
        const auto place =
            std::find_if(documents.begin(), documents.end(),
                         [&](const DocumentRange &other) { return other.first == document.first; });
        return snapshot_.xmlBytes(static_cast<std::size_t>(place - documents.begin()));
    }

    // Names of documents cannot lead out of the folder; the store sees to that.
    void writeFile(const DocumentRange &document, const fs::path &folder, Progress &progress) {
        const fs::path path = folder / document.name;
        std::error_code error;
        fs::create_directories(path.parent_path(), error);
        if (error) failWriting(path.parent_path(), error.value());
        OutputFile file(path);
        writeDocument(snapshot_, document, [&](std::string_view text) {
            file.write(text);
            progress.update(done_ += text.size());
        });
        file.finish();
    }

    const Snapshot &snapshot_;
    std::uint64_t done_ = 0;
};

const DocumentRange &onlyDocument(const Snapshot &snapshot) {
    const auto documents = snapshot.documents();
    if (documents.size() == 1) return documents.front();
    if (documents.empty()) throw Failure(Status::unknownDocument, {"the database is empty"});
    throw UsageError("There are " + std::to_string(documents.size()) +
                     " documents; name one, or --output a folder for all.");
}

DocumentRange findDocument(const Snapshot &snapshot, const DumpRequest &request) {
    const auto document = snapshot.findDocument(request.document);
    if (!document) throw Failure(Status::unknownDocument, {request.document, request.database});
    return *document;
}

}  // namespace

bool dump(const HomeChoice &home, const DumpRequest &request) {
    const auto snapshot = Home::open(home.location())->snapshot(request.database);
    DumpRun run(*snapshot);
    if (!request.directory.empty() && request.document.empty()) {
        run.writeAll(request.directory);
        return true;
    }
    const DocumentRange document =
        request.document.empty() ? onlyDocument(*snapshot) : findDocument(*snapshot, request);
    if (request.directory.empty())
        run.writeOut(document);
    else
        run.writeFile(document, request.directory);
    return true;
}

}  // namespace zdbs::admin
