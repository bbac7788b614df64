#include "tests/foundation/opened_files.h"

#include <cstdio>
#include <utility>

OpenedFiles::OpenedFiles(std::string root) : root_(std::move(root)) {
    current_ = this;
}

OpenedFiles::~OpenedFiles() {
    current_ = nullptr;
}

std::string OpenedFiles::place(const char *path) {
    if (current_ == nullptr || *path != '/') return path;
    current_->paths_.emplace_back(path);
    return current_->root_ + path;
}

// The linker gives every fopen() of the program to the first of these, and fopen() to the second.
extern "C" {
std::FILE *__real_fopen(const char *path, const char *mode);
std::FILE *__wrap_fopen(const char *path, const char *mode);

std::FILE *__wrap_fopen(const char *path, const char *mode) {
    return __real_fopen(OpenedFiles::place(path).c_str(), mode);
}
}
