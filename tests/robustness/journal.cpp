#include "tests/robustness/journal.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tests/support/temporary_directory.h"

namespace robustness {

namespace fs = std::filesystem;

namespace {

using Kind = FileEvent::Kind;

constexpr std::size_t pageSize = 4096;
constexpr std::size_t folder = static_cast<std::size_t>(-1);  // in the place of a file

Kind kindOf(const std::string &word) {
    static const std::map<std::string, Kind> kinds{
        {"write", Kind::write},       {"sync", Kind::sync},          {"truncate", Kind::truncate},
        {"allocate", Kind::allocate}, {"create", Kind::create},      {"rename", Kind::rename},
        {"remove", Kind::remove},     {"mkdir", Kind::makeDirectory}};
    return kinds.at(word);
}

bool isOfName(Kind kind) {
    return kind == Kind::create || kind == Kind::rename || kind == Kind::remove ||
           kind == Kind::makeDirectory;
}

std::string parentOf(const std::string &path) {
    const std::size_t slash = path.rfind('/', path.size() < 2 ? 0 : path.size() - 2);
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

void overlay(std::string &bytes, std::size_t offset, std::string_view piece) {
    if (bytes.size() < offset + piece.size()) bytes.resize(offset + piece.size(), '\0');
    piece.copy(bytes.data() + offset, piece.size());
}

}  // namespace

std::vector<FileEvent> readJournal(const fs::path &file, const fs::path &below) {
    std::vector<FileEvent> events;
    std::ifstream in(file, std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        std::istringstream words(line);
        std::string kind;
        std::size_t size = 0;
        FileEvent event{};
        words >> kind >> event.offset >> size >> event.isDurable;
        std::getline(words >> std::ws, event.path);
        event.kind = kindOf(kind);
        event.bytes.resize(size);
        in.read(event.bytes.data(), static_cast<std::streamsize>(size));
        if (!in) throw std::runtime_error("the journal ends too early");
        const bool isHere = event.path.starts_with(below.native() + "/") || event.path == below;
        if (isHere) events.push_back(std::move(event));
    }
    return events;
}

Tree readTree(const fs::path &directory) {
    Tree tree;
    for (const auto &entry : fs::recursive_directory_iterator(directory)) {
        const std::string name = fs::relative(entry.path(), directory).native();
        if (entry.is_directory())
            tree[name + "/"];
        else
            tree[name] = support::readFile(entry.path().native());
    }
    return tree;
}

void writeTree(const Tree &tree, const fs::path &directory) {
    fs::remove_all(directory);
    fs::create_directory(directory);
    fs::permissions(directory, fs::perms::owner_all);
    for (const auto &[name, bytes] : tree) {
        fs::create_directories((directory / name).parent_path());
        if (name.ends_with('/')) continue;
        std::ofstream(directory / name, std::ios::binary) << bytes;
        fs::permissions(directory / name, fs::perms::owner_read | fs::perms::owner_write);
    }
}

Replay::Replay(const Tree &before, fs::path directory, const std::vector<FileEvent> &events)
    : directory_(std::move(directory)) {
    for (const auto &[name, bytes] : before) {
        const bool isFolder = name.ends_with('/');
        names_[isFolder ? name.substr(0, name.size() - 1) : name] =
            isFolder ? folder : bytes_.size();
        if (!isFolder) bytes_.push_back(bytes);
    }
    std::map<std::string, FileId> names = names_;
    for (const FileEvent &event : events) {
        Step step{&event, folder, relative(event.path), {}};
        if (event.kind == Kind::rename) step.to = relative(event.bytes);
        if (event.kind == Kind::create) {
            step.file = bytes_.size();
            bytes_.emplace_back();
        } else if (names.contains(step.name)) {
            step.file = names.at(step.name);
        } else if (!isOfName(event.kind) && !step.name.empty()) {
            continue;  // of a file without a name, which nobody finds again
        }
        changeName(names, step);
        steps_.push_back(step);
    }
}

std::string Replay::relative(const std::string &path) const {
    return path.size() <= directory_.native().size() ? ""
                                                     : path.substr(directory_.native().size() + 1);
}

void Replay::changeName(std::map<std::string, FileId> &names, const Step &step) const {
    if (step.event->kind == Kind::create) names[step.name] = step.file;
    if (step.event->kind == Kind::makeDirectory) names[step.name] = folder;
    if (step.event->kind == Kind::remove) names.erase(step.name);
    if (step.event->kind != Kind::rename) return;
    // A folder takes along what is in it.
    std::map<std::string, FileId> moved;
    for (const auto &[name, file] : names) {
        const bool isWithin = name == step.name || name.starts_with(step.name + "/");
        moved[isWithin ? step.to + name.substr(step.name.size()) : name] = file;
    }
    names = moved;
}

/** With `random` it may be that pages of a write, or the whole of another event, get lost. */
void Replay::changeBytes(std::string &bytes, const FileEvent &event, std::mt19937 *random) {
    const auto isLost = [random] { return random != nullptr && (*random)() % 2 == 0; };
    if (event.kind == Kind::write) {
        for (std::size_t at = 0; at < event.bytes.size();) {
            const std::size_t offset = event.offset + at;
            const std::size_t size =
                std::min(pageSize - offset % pageSize, event.bytes.size() - at);
            if (!isLost()) overlay(bytes, offset, std::string_view(event.bytes).substr(at, size));
            at += size;
        }
    } else if (event.kind == Kind::truncate) {
        if (!isLost()) bytes.resize(event.offset, '\0');
    } else if (event.kind == Kind::allocate) {
        if (!isLost() && bytes.size() < event.offset) bytes.resize(event.offset, '\0');
    }
}

/** By step: whether it is about bytes that are on the disk for certain. */
std::vector<bool> Replay::durableSteps(std::size_t events) const {
    std::vector<bool> durable(events);
    std::map<FileId, bool> isSynced;  // further on
    for (std::size_t i = events; i-- > 0;) {
        const Step &step = steps_[i];
        if (step.event->kind == Kind::sync && step.file != folder) isSynced[step.file] = true;
        durable[i] = step.event->isDurable || isSynced[step.file];
    }
    return durable;
}

/** The first change of a name that may be lost. */
std::size_t Replay::firstOpenName(std::size_t events) const {
    for (std::size_t i = events; i-- > 0;) {
        if (!isOfName(steps_[i].event->kind)) continue;
        const std::string &name =
            steps_[i].event->kind == Kind::rename ? steps_[i].to : steps_[i].name;
        for (std::size_t later = i + 1; later < events; ++later) {
            const Step &step = steps_[later];
            const bool isSync = step.event->kind == Kind::sync && step.file == folder;
            if (isSync && step.name == parentOf(name)) return i + 1;
        }
    }
    return 0;
}

Tree Replay::cut(std::size_t events, std::mt19937 &random) const {
    events = std::min(events, steps_.size());
    const std::vector<bool> durable = durableSteps(events);
    const std::size_t certain = firstOpenName(events);
    const std::size_t lastName = certain + random() % (events - certain + 1);
    const unsigned mood = random() % 4;  // at times all is lost that can be, or nothing
    std::map<std::string, FileId> names = names_;
    std::vector<std::string> bytes = bytes_;
    for (std::size_t i = 0; i < events; ++i) {
        const Step &step = steps_[i];
        if (isOfName(step.event->kind)) {
            if (i < lastName) changeName(names, step);
        } else if (step.file != folder && (durable[i] || mood != 0)) {
            changeBytes(bytes[step.file], *step.event, durable[i] || mood == 1 ? nullptr : &random);
        }
    }
    Tree tree;
    for (const auto &[name, file] : names) {
        if (file == folder)
            tree[name + "/"];
        else
            tree[name] = bytes[file];
    }
    return tree;
}

Tree Replay::whole() const {
    std::vector<FileEvent> synced;
    std::map<std::string, FileId> names = names_;
    std::vector<std::string> bytes = bytes_;
    for (const Step &step : steps_) {
        changeName(names, step);
        if (step.file != folder) changeBytes(bytes[step.file], *step.event, nullptr);
    }
    Tree tree;
    for (const auto &[name, file] : names)
        tree[file == folder ? name + "/" : name] = file == folder ? "" : bytes[file];
    return tree;
}

}  // namespace robustness
