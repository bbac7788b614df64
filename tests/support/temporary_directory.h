/** A fresh directory for one test. */
#ifndef TESTS_SUPPORT_TEMPORARY_DIRECTORY_H
#define TESTS_SUPPORT_TEMPORARY_DIRECTORY_H

#include <filesystem>
#include <string>
#include <string_view>

namespace support {

/** Makes a directory below the system's one for temporary files and removes it with its contents.
 */
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

    const std::filesystem::path &path() const { return path_; }

    /** The path of a name in the directory, as text. */
    std::string operator/(std::string_view name) const { return (path_ / name).string(); }

    /** Writes a file, byte for byte; returns its path. */
    std::string write(std::string_view name, std::string_view content) const;

private:
    std::filesystem::path path_;
};

/** The whole file, byte for byte; empty when there is none. */
std::string readFile(const std::string &path);

}  // namespace support

#endif
