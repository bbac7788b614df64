#include "zdbs/base/directory.h"

#include <dirent.h>

#include <cerrno>
#include <memory>
#include <new>
#include <string_view>

namespace zdbs {

namespace {

struct Close {
    void operator()(DIR *directory) const { ::closedir(directory); }
};

}  // namespace

std::vector<std::string> namesIn(const std::filesystem::path &directory, std::error_code &error) {
    std::vector<std::string> names;
    error.clear();
    const std::unique_ptr<DIR, Close> opened(::opendir(directory.c_str()));
    if (!opened && errno == ENOMEM) throw std::bad_alloc();
    if (!opened) error.assign(errno, std::system_category());
    while (!error) {
        errno = 0;
        const dirent *const entry = ::readdir(opened.get());
        if (entry == nullptr) {
            error.assign(errno, std::system_category());
            break;
        }
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    return names;
}

}  // namespace zdbs
