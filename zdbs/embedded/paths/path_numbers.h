/** A number for some of the paths of a summary, at no cost for all the others. */
#ifndef ZDBS_EMBEDDED_PATHS_PATH_NUMBERS_H
#define ZDBS_EMBEDDED_PATHS_PATH_NUMBERS_H

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "zdbs/embedded/paths/path_summary.h"

namespace zdbs::embedded {

/**
 * Maps paths to numbers, 0 where none was set. The table behind it is kept by the process
 * and cleared where it was used, so that a map of few paths costs as much as they are, and
 * not as many as there are in the summary. For local use in one thread.
 */
class PathNumbers {
public:
    /** @param paths that there are */
    explicit PathNumbers(std::size_t paths);
    ~PathNumbers();
    PathNumbers(const PathNumbers &) = delete;
    PathNumbers &operator=(const PathNumbers &) = delete;

    /** REQUIRES here and below that the path is one of the summary. */
    std::uint32_t operator[](PathId path) const { return table_->numbers[path]; }

    /** REQUIRES number != 0. */
    void set(PathId path, std::uint32_t number) {
        if (table_->numbers[path] == 0) table_->used.push_back(path);
        table_->numbers[path] = number;
    }

    /** The paths that have a number, in the order in which they got it first. */
    std::span<const PathId> used() const { return table_->used; }

private:
    struct Table {
        std::vector<std::uint32_t> numbers;
        std::vector<PathId> used;
    };

    /** Tables that nobody uses now. REQUIRES the mutex. */
    static std::vector<std::unique_ptr<Table>> &unused();

    std::unique_ptr<Table> table_;
};

/** A set of paths at the same price. */
class PathMarks {
public:
    explicit PathMarks(std::size_t paths) : numbers_(paths) {}

    bool has(PathId path) const { return numbers_[path] != 0; }
    std::span<const PathId> paths() const { return numbers_.used(); }

    /** False when it was there already. */
    bool add(PathId path) {
        if (has(path)) return false;
        numbers_.set(path, 1);
        return true;
    }

private:
    PathNumbers numbers_;
};

}  // namespace zdbs::embedded

#endif
