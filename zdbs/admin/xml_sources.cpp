#include "zdbs/admin/xml_sources.h"

#include <algorithm>
#include <string_view>
#include <system_error>

#include "zdbs/status/status.h"

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
    std::error_code ignored;
    const auto size = fs::is_regular_file(file, ignored) ? fs::file_size(file, ignored) : 0;
    return {file, file.native(), withoutPackedEnding(name), ignored ? 0 : size};
}

std::vector<XmlSource> findInFolder(const fs::path &folder) {
    std::vector<XmlSource> sources;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().native();
        if (isXmlName(name) && !entry->is_directory())
            sources.push_back(
                fileSource(entry->path(), entry->path().lexically_relative(folder).native()));
    }
    if (error) throw Failure(Status::fileUnreadable, {folder.native(), error.message()});
    if (sources.empty())
        throw Failure(Status::fileUnreadable, {folder.native(), "no XML files are in it"});
    std::sort(sources.begin(), sources.end(),
              [](const XmlSource &a, const XmlSource &b) { return a.document < b.document; });
    return sources;
}

}  // namespace

std::unique_ptr<Input> XmlSource::open() const {
    return file.empty() ? openStandardInput() : openFile(file);
}

std::vector<XmlSource> findXml(const std::string &path) {
    if (path == "-") return {{{}, "standard input", "stdin.xml", 0}};
    std::error_code error;
    if (fs::is_directory(path, error)) return findInFolder(path);
    if (error) throw Failure(Status::fileUnreadable, {path, error.message()});
    const fs::path file = path;
    return {fileSource(file, file.filename().native())};
}

}  // namespace zdbs::admin
