#include "zdbs/admin/xml_sources.h"

#include <fnmatch.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <utility>

#include "zdbs/base/directory.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view packedEndings[] = {".gz", ".zst", ".bz2", ".xz", ".lz", ".lz4"};

std::string withoutPackedEnding(std::string name) {
    for (const std::string_view ending : packedEndings) {
        if (name.size() > ending.size() && name.ends_with(ending)) {
            name.resize(name.size() - ending.size());
            break;
        }
    }
    return name;
}

bool isXmlName(const std::string &name) {
    constexpr std::string_view ending = ".xml";
    const std::string unpacked = withoutPackedEnding(name);
    return unpacked.size() > ending.size() && unpacked.ends_with(ending);
}

bool fits(const std::string &pattern, const fs::path &below) {
    const bool isPath = pattern.find('/') != std::string::npos;
    const std::string name = isPath ? below.native() : below.filename().native();
    const auto matches = [&](const std::string &text) {
        return ::fnmatch(pattern.c_str(), text.c_str(), isPath ? FNM_PATHNAME : 0) == 0;
    };
    return matches(name) || matches(withoutPackedEnding(name));
}

XmlSource fileSource(const fs::path &file, const std::string &document) {
    XmlSource source{file, file.native(), document, std::nullopt, nullptr, 0};
    std::error_code error;
    if (!fs::is_regular_file(file, error)) return source;
    const auto size = fs::file_size(file, error);
    if (!error) source.size = size;
    return source;
}

// Links lead to what they name. One that leads nowhere counts as a file, so that opening it tells
// of it. Pipes and devices do not: to open one may wait for ever.
bool canBeFile(const fs::directory_entry &entry) {
    std::error_code error;
    const fs::file_type type = entry.status(error).type();
    return type == fs::file_type::regular || type == fs::file_type::not_found ||
           type == fs::file_type::none || type == fs::file_type::unknown;
}

bool isFolderItself(const fs::directory_entry &entry) {
    std::error_code error;
    return entry.symlink_status(error).type() == fs::file_type::directory;
}

/** What is below one folder. */
class FolderSearch {
public:
    FolderSearch(fs::path top, const SourceChoice &choice)
        : top_(std::move(top)), choice_(choice) {}

    std::vector<XmlSource> run() {
        search(top_);
        while (!folders_.empty()) {
            const fs::path folder = std::move(folders_.back());
            folders_.pop_back();
            search(folder);
        }
        std::sort(sources_.begin(), sources_.end(),
                  [](const XmlSource &a, const XmlSource &b) { return a.document < b.document; });
        return std::move(sources_);
    }

private:
    void search(const fs::path &folder) {
        std::error_code error;
        for (const std::string &name : namesIn(folder, error)) {
            std::error_code ignored;
            const fs::directory_entry entry(folder / name, ignored);
            if (isFolderItself(entry))
                folders_.push_back(entry.path());
            else if (choice_.takes(entry.path().lexically_relative(top_)) && canBeFile(entry))
                add(entry.path());
        }
        if (!error) return;
        if (folder == top_)
            throw Failure(Status::fileUnreadable, {folder.native(), error.message()});
        // One of many that cannot be read is as a file that cannot: it is told when its turn comes.
        add(folder);
    }

    void add(const fs::path &path) {
        sources_.push_back(fileSource(path, choice_.documentOf(path.lexically_relative(top_))));
    }

    fs::path top_;
    const SourceChoice &choice_;
    std::vector<fs::path> folders_;  ///< not searched yet
    std::vector<XmlSource> sources_;
};

std::vector<XmlSource> findInArchive(const std::string &path,
                                     const std::shared_ptr<Archive> &archive,
                                     const SourceChoice &choice) {
    std::vector<XmlSource> sources;
    for (std::size_t entry = 0; entry < archive->entries().size(); ++entry) {
        const auto &[name, size] = archive->entries()[entry];
        if (choice.takes(name))
            sources.push_back(
                {path, path + ": " + name, choice.documentOf(name), size, archive, entry});
    }
    if (sources.empty()) throw Failure(Status::fileUnreadable, {path, "no XML files are in it"});
    return sources;
}

/** The pieces of a stream between these characters, but for empty ones. */
std::vector<std::string> piecesOf(std::FILE *stream, const std::string &name, char end) {
    std::vector<std::string> pieces;
    char *text = nullptr;
    std::size_t size = 0;
    ssize_t length = 0;
    errno = 0;
    while ((length = ::getdelim(&text, &size, end, stream)) >= 0) {
        std::string piece(text, static_cast<std::size_t>(length));
        if (piece.ends_with(end)) piece.pop_back();
        if (!piece.empty()) pieces.push_back(std::move(piece));
    }
    const int error = errno;
    const bool isWhole = std::feof(stream) != 0;
    std::free(text);
    if (!isWhole)
        throw Failure(Status::fileUnreadable, {name, std::system_category().message(error)});
    return pieces;
}

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

std::vector<std::string> readList(const std::string &list, char end) {
    if (list == "-") return piecesOf(stdin, "standard input", end);
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(list.c_str(), "re"));
    if (!file) throw Failure(Status::fileUnreadable, {list, std::system_category().message(errno)});
    return piecesOf(file.get(), list, end);
}

}  // namespace

std::string SourceChoice::documentOf(const fs::path &file) const {
    const std::string name = withoutPackedEnding(file.native());
    return prefix.empty() ? name : (fs::path(prefix) / name).native();
}

bool SourceChoice::takes(const fs::path &below) const {
    if (patterns.empty()) return isXmlName(below.filename().native());
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const std::string &pattern) { return fits(pattern, below); });
}

std::vector<XmlSource> findInFolder(const fs::path &folder, const SourceChoice &choice) {
    return FolderSearch(folder, choice).run();
}

std::vector<XmlSource> findListed(const std::string &list, bool endsInNul,
                                  const SourceChoice &choice) {
    std::vector<XmlSource> sources;
    for (const std::string &path : readList(list, endsInNul ? '\0' : '\n')) {
        const fs::path file = path;
        const fs::path name = file.relative_path().lexically_normal();
        sources.push_back(fileSource(file, choice.documentOf(name)));
    }
    return sources;
}

std::unique_ptr<Input> XmlSource::open() const {
    if (archive) return archive->open(entry);
    return file.empty() ? openStandardInput() : openFile(file);
}

std::vector<XmlSource> findXml(const std::string &path, const SourceChoice &choice) {
    if (path == "-")
        return {{{}, "standard input", choice.documentOf("stdin.xml"), std::nullopt, nullptr, 0}};
    std::error_code error;
    if (fs::is_directory(path, error)) {
        std::vector<XmlSource> sources = findInFolder(path, choice);
        if (sources.empty())
            throw Failure(Status::fileUnreadable, {path, "no XML files are in it"});
        return sources;
    }
    if (error) throw Failure(Status::fileUnreadable, {path, error.message()});
    const fs::path file = path;
    const bool isFile = fs::is_regular_file(file, error);
    if (const auto archive = isFile ? Archive::open(file) : nullptr)
        return findInArchive(path, archive, choice);
    return {fileSource(file, choice.documentOf(file.filename()))};
}

}  // namespace zdbs::admin
