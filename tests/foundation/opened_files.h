#ifndef TESTS_FOUNDATION_OPENED_FILES_H
#define TESTS_FOUNDATION_OPENED_FILES_H

#include <string>
#include <vector>

// While it lives, files that this program opens by an absolute path with fopen() are looked for
// below another root, and their paths are kept. The program must be linked with --wrap=fopen. One
// at a time.
class OpenedFiles {
public:
    explicit OpenedFiles(std::string root);
    ~OpenedFiles();
    OpenedFiles(const OpenedFiles &) = delete;
    OpenedFiles &operator=(const OpenedFiles &) = delete;

    // The paths as they were given, in order, whether there was such a file or not.
    const std::vector<std::string> &paths() const { return paths_; }
    void forget() { paths_.clear(); }

    // Called by the program's fopen(): where a file is.
    static std::string place(const char *path);

private:
    std::string root_;
    std::vector<std::string> paths_;
    inline static OpenedFiles *current_ = nullptr;
};

#endif
