#include "zdbs/admin/xml_sources.h"

#include <algorithm>
#include <string_view>
#include <system_error>
#include <utility>

#include "zdbs/base/status.h"

namespace zdbs::admin {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view packedEndings[] = {".gz", ".zst"};

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

XmlSource fileSource(const fs::path &file, const std::string &name) {
    XmlSource source{file, file.native(), withoutPackedEnding(name), std::nullopt};
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
    explicit FolderSearch(fs::path top) : top_(std::move(top)) {}

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
        fs::directory_iterator entry(folder, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            if (isFolderItself(*entry))
                folders_.push_back(entry->path());
            else if (isXmlName(entry->path().filename().native()) && canBeFile(*entry))
                add(entry->path());
        }
        if (!error) return;
        if (folder == top_)
            throw Failure(Status::fileUnreadable, {folder.native(), error.message()});
        // One of many that cannot be read is as a file that cannot: it is told when its turn comes.
        add(folder);
    }

    void add(const fs::path &path) {
        sources_.push_back(fileSource(path, path.lexically_relative(top_).native()));
    }

    fs::path top_;
    std::vector<fs::path> folders_;  ///< not searched yet
    std::vector<XmlSource> sources_;
};

std::vector<XmlSource> findInFolder(const fs::path &folder) {
    std::vector<XmlSource> sources = FolderSearch(folder).run();
    if (sources.empty())
        throw Failure(Status::fileUnreadable, {folder.native(), "no XML files are in it"});
    return sources;
}

}  // namespace

std::unique_ptr<Input> XmlSource::open() const {
    return file.empty() ? openStandardInput() : openFile(file);
}

std::vector<XmlSource> findXml(const std::string &path) {
    if (path == "-") return {{{}, "standard input", "stdin.xml", std::nullopt}};
    std::error_code error;
    if (fs::is_directory(path, error)) return findInFolder(path);
    if (error) throw Failure(Status::fileUnreadable, {path, error.message()});
    const fs::path file = path;
    return {fileSource(file, file.filename().native())};
}

}  // namespace zdbs::admin
