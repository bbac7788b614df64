#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/status/status.h"
#include "zdbs/store/snapshot.h"
#include "zdbs/xml/serializer.h"
#include "zdbs/xml/sink.h"

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

// Names of documents cannot lead out of the folder; the store sees to that.
void writeFile(const Snapshot &snapshot, const DocumentRange &document, const fs::path &folder) {
    const fs::path path = folder / document.name;
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    if (error) failWriting(path.parent_path(), error.value());
    OutputFile file(path);
    writeDocument(snapshot, document, [&](std::string_view text) { file.write(text); });
    file.finish();
}

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
    const auto snapshot = home.open()->snapshot(request.database);
    if (!request.directory.empty() && request.document.empty()) {
        for (const DocumentRange &document : snapshot->documents())
            writeFile(*snapshot, document, request.directory);
        return true;
    }
    const DocumentRange document =
        request.document.empty() ? onlyDocument(*snapshot) : findDocument(*snapshot, request);
    if (request.directory.empty())
        writeDocument(*snapshot, document, writeOutput);
    else
        writeFile(*snapshot, document, request.directory);
    return true;
}

}  // namespace zdbs::admin
