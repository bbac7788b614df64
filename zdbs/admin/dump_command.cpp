#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "zdbs/admin/commands.h"
#include "zdbs/admin/output.h"
#include "zdbs/admin/output_file.h"
#include "zdbs/admin/progress.h"
#include "zdbs/base/sink.h"
#include "zdbs/base/status.h"
#include "zdbs/export/xml_writer.h"

namespace zdbs::admin {

namespace fs = std::filesystem;

namespace {

void writeDocument(const StoredDocuments &documents, std::size_t place,
                   ChunkSink::Consumer consumer) {
    ChunkSink sink(std::move(consumer));
    XmlWriter writer(sink);
    documents.tell(place, writer);
    sink.flush();
}

/** Documents on their way out, with a bar of how much of the loaded XML that is. */
class DumpRun {
public:
    explicit DumpRun(const StoredDocuments &documents) : documents_(documents) {}

    /** False when some have a name that cannot be a file's; those are told. */
    bool writeAll(const fs::path &folder) {
        std::uint64_t total = 0;
        for (const DocumentSummary &document : documents_.list())
            total += document.xmlBytes;
        Progress progress(total);
        bool isAll = true;
        for (std::size_t place = 0; place < documents_.list().size(); ++place) {
            try {
                writeFile(place, folder, progress);
            } catch (const UnusableName &failure) {
                progress.clear();
                writeMessage(failure.what());
                isAll = false;
            }
        }
        return isAll;
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
        OutputFile file(folder, documents_.list()[place].name);
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

void makeFolder(const fs::path &folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) OutputFile::fail(folder, error.value());
}

}  // namespace

bool dump(const HomeChoice &home, const DumpRequest &request) {
    const auto documents = home.open()->documents(request.database);
    DumpRun run(*documents);
    if (!request.directory.empty()) makeFolder(request.directory);
    if (!request.directory.empty() && request.document.empty())
        return run.writeAll(request.directory);
    const std::size_t place = request.document.empty() ? onlyDocument(documents->list())
                                                       : findDocument(documents->list(), request);
    if (request.directory.empty())
        run.writeOut(place);
    else
        run.writeFile(place, request.directory);
    return true;
}

}  // namespace zdbs::admin
