#include "foundation/run_control.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "foundation/characters.h"
#include "foundation/memory.h"
#include "foundation/string_util.h"

namespace {

constexpr const char *settingsFiles[] = {"/usr/local/zarn/sys/conf/zdbs.conf", "/.ZARNrcs"};

struct FileCloser {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// The key of ZfxReadRCS; the lock makes its first use safe from any thread.
std::mutex keyLock;
bool haveKey = false;
ZfxTLSKey processKey;

std::string_view withoutTrailingSpace(std::string_view text) {
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

File openFirst(std::span<const char *const> paths) {
    for (const char *path : paths) {
        if (File file{std::fopen(path, "r")}) return file;
    }
    return nullptr;
}

ZfxRCSEntry *newEntry() {
    auto *entry = static_cast<ZfxRCSEntry *>(ZfxMemAlloc(sizeof(ZfxRCSEntry)));
    if (entry == nullptr) ZfxOutOfMemory();
    return entry;
}

// The lines of the file in their order. An empty file gives one empty line, so that it counts as
// read.
ZfxRCSEntry *readEntries(std::FILE *file) {
    ZfxRCSEntry *const first = newEntry();
    ZfxRCSEntry *last = nullptr;
    char line[sizeof ZfxRCSEntry::line];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        ZfxRCSEntry *const entry = last == nullptr ? first : newEntry();
        if (last != nullptr) last->next = entry;
        last = entry;
        withoutTrailingSpace(line).copy(entry->line, sizeof entry->line - 1);
    }
    return first;
}

void freeEntries(void *first) {
    auto *entry = static_cast<ZfxRCSEntry *>(first);
    while (entry != nullptr) {
        ZfxRCSEntry *const next = entry->next;
        ZfxMemFree(entry);
        entry = next;
    }
}

ZfxRCSEntry *entriesOfThread(ZfxTLSKey key, std::span<const char *const> paths) {
    auto *entries = static_cast<ZfxRCSEntry *>(ZfxGetTLSValue(key));
    if (entries != nullptr) return entries;
    const File file = openFirst(paths);
    if (file == nullptr) return nullptr;
    entries = readEntries(file.get());
    if (ZfxSetTLSValue(key, entries) == 0) return entries;
    freeEntries(entries);
    return nullptr;
}

// The value of a line "name=value # comment", or null when it is not a line of `name`.
char *valueOf(std::string_view line, const char *name) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return nullptr;
    if (ZfxCompareNoCase(std::string(line.substr(0, equals)).c_str(), name) != 0) return nullptr;
    std::string_view value = line.substr(equals + 1);
    const std::size_t comment = value.find('#');
    if (comment != std::string_view::npos) value = withoutTrailingSpace(value.substr(0, comment));
    return ZfxStrDup(std::string(value).c_str());
}

ZfxTLSKey keyOfProcess() {
    const std::lock_guard lock(keyLock);
    if (!haveKey) {
        if (ZfxCreateTLS(&processKey, tlsRCSDealloc) != 0) ZfxOutOfMemory();
        haveKey = true;
        ZfxOpenTlsRCS(processKey);
    }
    return processKey;
}

}  // namespace

char *ZfxReadRCS(const char *name, int length) {
    return ZfxReadTlsRCS(keyOfProcess(), name, length);
}

char *ZfxReadTlsRCS(ZfxTLSKey key, const char *name, int) {
    return ZfxReadTlsRCSFrom(key, name, settingsFiles);
}

char *ZfxReadTlsRCSFrom(ZfxTLSKey key, const char *name, std::span<const char *const> paths) {
    if (name == nullptr) return nullptr;
    const ZfxRCSEntry *entry = entriesOfThread(key, paths);
    if (const char *variable = std::getenv(name)) return ZfxStrDup(variable);
    for (; entry != nullptr; entry = entry->next) {
        if (char *value = valueOf(entry->line, name)) return value;
    }
    return nullptr;
}

void ZfxOpenTlsRCS(ZfxTLSKey key) {
    ZfxSetTLSValue(key, nullptr);
}

void ZfxCloseTlsRCS(ZfxTLSKey key) {
    void *const entries = ZfxGetTLSValue(key);
    ZfxOpenTlsRCS(key);
    freeEntries(entries);
}

void ZfxCloseRCS() {
    const std::lock_guard lock(keyLock);
    if (!haveKey) return;
    ZfxCloseTlsRCS(processKey);
    ZfxDeleteTLS(processKey);
    haveKey = false;
}

void ZfxFreeRCS(char *value) {
    ZfxMemFree(value);
}

void tlsRCSDealloc(void *value) {
    if (value == nullptr) return;
    {
        const std::lock_guard lock(keyLock);
        if (haveKey && ZfxGetTLSValue(processKey) == value) ZfxOpenTlsRCS(processKey);
    }
    freeEntries(value);
}
