/** What a program did to files, recorded by interrupt.cpp, and what a power cut may leave of it. */
#ifndef TESTS_ROBUSTNESS_JOURNAL_H
#define TESTS_ROBUSTNESS_JOURNAL_H

#include <cstddef>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace robustness {

struct FileEvent {
    enum class Kind { write, sync, truncate, allocate, create, rename, remove, makeDirectory };

    Kind kind;
    std::size_t offset = 0;  ///< of a truncation or allocation the size
    bool isDurable = false;  ///< of a write: on the disk when it returns
    std::string path;
    std::string bytes;  ///< of a renaming the new path
};

/** The events below a directory. */
std::vector<FileEvent> readJournal(const std::filesystem::path &file,
                                   const std::filesystem::path &below);

/** Regular files by path relative to a directory; directories end in a slash and have no bytes. */
using Tree = std::map<std::string, std::string>;

Tree readTree(const std::filesystem::path &directory);
void writeTree(const Tree &tree, const std::filesystem::path &directory);

/**
 * Files that go through events. Bytes belong to a file whatever becomes of its name.
 *
 * What a cut leaves: of each file what was there at its last sync, and of each page that was
 * written since then that writing or one of those before it; of a truncation the like. Names are
 * changed in order: all changes up to some moment, which is not before the last one whose directory
 * was synced since.
 */
class Replay {
public:
    /** @param before the tree in front of the first event; `directory` is where it stands */
    Replay(const Tree &before, std::filesystem::path directory,
           const std::vector<FileEvent> &events);

    /** Behind the last event. */
    Tree whole() const;

    /** After a cut behind that many events. */
    Tree cut(std::size_t events, std::mt19937 &random) const;

private:
    using FileId = std::size_t;

    /** An event with the file that it is about, as that was then. */
    struct Step {
        const FileEvent *event;
        FileId file;
        std::string name;  ///< relative
        std::string to;
    };

    std::string relative(const std::string &path) const;
    std::size_t firstOpenName(std::size_t events) const;
    std::vector<bool> durableSteps(std::size_t events) const;
    void changeName(std::map<std::string, FileId> &names, const Step &step) const;
    static void changeBytes(std::string &bytes, const FileEvent &event, std::mt19937 *random);

    std::filesystem::path directory_;
    std::map<std::string, FileId> names_;  ///< in front of the first event
    std::vector<std::string> bytes_;
    std::vector<Step> steps_;
};

}  // namespace robustness

#endif
