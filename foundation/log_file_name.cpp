#include "foundation/log_file_name.h"

#include <pthread.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

#include "foundation/memory.h"
#include "foundation/run_control.h"

namespace {

void removeOneSeparator(std::string &dir) {
    if (dir.ends_with('/') || dir.ends_with('\\')) dir.pop_back();
}

std::string directoryOf(char *given) {
    if (given == nullptr || *given == '\0') {
        char *setting = ZfxReadRCS("ZDBS_LOG");
        std::string dir = ZfxDefaultLogDirectory(setting);
        ZfxFreeRCS(setting);
        removeOneSeparator(dir);
        return dir;
    }
    std::string dir = given;
    removeOneSeparator(dir);
    // Kept: the caller sees the directory as it was used.
    if (given[dir.size()] != '\0') given[dir.size()] = '\0';
    return dir;
}

const char *extensionOf(const char *ext) {
    if (ext == nullptr) return "log";
    return *ext == '.' ? ext + 1 : ext;
}

std::string processSuffix() {
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "_%d", static_cast<int>(getpid()));
    return suffix;
}

std::string threadSuffix() {
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "_%u", static_cast<unsigned>(pthread_self()));
    return suffix;
}

std::string timeSuffix() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char suffix[64];
    std::snprintf(suffix, sizeof suffix, "_%04d%02d%02d%02d%02d%02d%03d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(now.tv_nsec / 1000000));
    return suffix;
}

char *newName() {
    void *name = ZfxMemAlloc(zfxLogFileNameSize);
    if (name == nullptr) ZfxOutOfMemory();
    return static_cast<char *>(name);
}

}  // namespace

char *getLogFileNameEx(char *dst, char *dir, const char *base, const char *ext, int withPid,
                       int withThread, int withTimestamp) {
    const std::string directory = directoryOf(dir);
    const std::string process = withPid != 0 ? processSuffix() : "";
    const std::string thread = withThread != 0 ? threadSuffix() : "";
    const std::string time = withTimestamp != 0 ? timeSuffix() : "";
    char *name = dst != nullptr ? dst : newName();
    std::snprintf(name, zfxLogFileNameSize, "%s%s%s%s%s%s.%s", directory.c_str(),
                  directory.empty() ? "" : "/", base != nullptr ? base : "", process.c_str(),
                  thread.c_str(), time.c_str(), extensionOf(ext));
    return name;
}

char *getLogFileName(char *dst, char *dir, const char *base, const char *ext, int withPid,
                     int withThread) {
    return getLogFileNameEx(dst, dir, base, ext, withPid, withThread, 0);
}

std::string ZfxDefaultLogDirectory(const char *setting) {
    return setting != nullptr && *setting != '\0' ? setting : "/tmp";
}
