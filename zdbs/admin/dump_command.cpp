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
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/progress.h"
#include "zdbs/base/sink.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void failWriting(const fs::path &path, int error) {
    throw Failure(Status::writeFailed, {path.native(), std::system_category().message(error)});
}

void writeDocument(const StoredDocuments &documents, std::size_t place,
                   ChunkSink::Consumer consumer) {
    ChunkSink sink(std::move(consumer));
    documents.write(place, sink);
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
    explicit DumpRun(const StoredDocuments &documents) : documents_(documents) {}

    void writeAll(const fs::path &folder) {
        std::uint64_t total = 0;
        for (const DocumentSummary &document : documents_.list())
            total += document.xmlBytes;
        Progress progress(total);
        for (std::size_t place = 0; place < documents_.list().size(); ++place)
            writeFile(place, folder, progress);
    }

    void writeFile(std::size_t place, const fs::path &folder) {
        Progress progress(documents_.list()[place].xmlBytes);
        writeFile(place, folder, progress);
    }

    void writeOut(std::size_t place) {
        // A bar between the lines of the document would be in the way.
        if (outputWidth() > 0) return writeDocument(documents_, place, writeOutput);
        Progress progress(documents_.list()[place].xmlBytes);
        writeDocument(documents_, place, [&](std::string_view text) {
            writeOutput(text);
            progress.update(done_ += text.size());
        });
    }

private:
    // Names of documents cannot lead out of the folder; the store sees to that.
    void writeFile(std::size_t place, const fs::path &folder, Progress &progress) {
        const fs::path path = folder / documents_.list()[place].name;
        std::error_code error;
        fs::create_directories(path.parent_path(), error);
        if (error) failWriting(path.parent_path(), error.value());
        OutputFile file(path);
        writeDocument(documents_, place, [&](std::string_view text) {
            file.write(text);
            progress.update(done_ += text.size());
        });
        file.finish();
    }

    const StoredDocuments &documents_;
    std::uint64_t done_ = 0;
};

/** The place of the only document. */
std::size_t onlyDocument(const std::vector<DocumentSummary> &documents) {
    if (documents.size() == 1) return 0;
    if (documents.empty()) throw Failure(Status::unknownDocument, {"the database is empty"});
    throw UsageError("There are " + std::to_string(documents.size()) +
                     " documents; name one, or --output a folder for all.");
}

std::size_t findDocument(const std::vector<DocumentSummary> &documents,
                         const DumpRequest &request) {
    const auto found = std::find_if(
        documents.begin(), documents.end(),
        [&](const DocumentSummary &document) { return document.name == request.document; });
    if (found == documents.end())
        throw Failure(Status::unknownDocument, {request.document, request.database});
    return static_cast<std::size_t>(found - documents.begin());
}

}  // namespace

bool dump(const HomeChoice &home, const DumpRequest &request) {
    const auto documents = home.open()->documents(request.database);
    DumpRun run(*documents);
    if (!request.directory.empty() && request.document.empty()) {
        run.writeAll(request.directory);
        return true;
    }
    const std::size_t place = request.document.empty() ? onlyDocument(documents->list())
                                                       : findDocument(documents->list(), request);
    if (request.directory.empty())
        run.writeOut(place);
    else
        run.writeFile(place, request.directory);
    return true;
}

}  // namespace zdbs::admin
