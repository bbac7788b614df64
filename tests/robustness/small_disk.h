/** A small file system, for the programs that are run on it. */
#ifndef TESTS_ROBUSTNESS_SMALL_DISK_H
#define TESTS_ROBUSTNESS_SMALL_DISK_H

#include <cstdint>
#include <filesystem>
#include <string_view>

#include "tests/support/piped_program.h"

namespace robustness {

/**
 * A file system in memory that is mounted as long as this lives, and only for the programs that
 * run() starts. Its size can be changed, so that it is full to the byte.
 */
class SmallDisk {
public:
    /** Mounts it on a directory that is there. */
    explicit SmallDisk(const std::filesystem::path &directory);

    /** False where nobody may mount anything. */
    bool isMounted() const { return isMounted_; }

    /** The command as it is started on the disk. */
    support::Command command(const support::Command &command) const;

    support::ProgramResult run(const support::Command &command, std::string_view input = {}) const;

    /** Makes the disk so large that only so much is free; a page takes 4096 bytes. */
    void leaveFree(std::uint64_t bytes) const;

    /** How a file on the disk can be looked at from outside. */
    std::filesystem::path fromOutside(const std::filesystem::path &path) const;

private:
    std::filesystem::path directory_;
    support::PipedProgram holder_;
    bool isMounted_;
};

}  // namespace robustness

#endif
