#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "foundation/run_control.h"
#include "zdbs/base/status.h"
#include "zdbs/engine/registry.h"

namespace zdbs {

namespace fs = std::filesystem;

namespace {

std::string environmentVariable(const char *name) {
    const char *value = std::getenv(name);
    return value ? value : "";
}

std::string userDirectory() {
    std::string home = environmentVariable("HOME");
    if (!home.empty()) return home;
    const passwd *entry = ::getpwuid(::geteuid());
    return entry && entry->pw_dir ? entry->pw_dir : "";
}

}  // namespace

std::string configured(const char *name) {
    char *value = ZfxReadRCS(name);
    if (!value) return "";
    std::string text = value;
    ZfxFreeRCS(value);
    return text;
}

bool isServed(std::string_view location) {
    return location.starts_with("https://") || location.starts_with("http://") ||
           location.starts_with("unix:");
}

std::string configuredLocation() {
    std::string home = configured("ZDBS_HOME");
    if (!home.empty()) return home;
    const fs::path data = environmentVariable("XDG_DATA_HOME");
    // The base directory rules: a path that is not absolute is ignored.
    if (data.is_absolute()) return data / "zdbs";
    const fs::path user = userDirectory();
    if (user.empty()) throw Failure(Status::homeMissing);
    return user / ".local" / "share" / "zdbs";
}

}  // namespace zdbs
