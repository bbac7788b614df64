#include "zdbs/embedded/store/watched_map.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fstream>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>

#include "zdbs/base/status.h"

namespace zdbs::embedded {

/** What the handler looks at: nothing but atomics, and never freed. */
struct WatchedMap::Slot {
    std::atomic<std::uintptr_t> begin = 0;  ///< 0: the slot is free
    std::atomic<std::uintptr_t> end = 0;
    std::atomic<bool> isWritten = false;
    std::atomic<bool> isLost = false;
};

struct WatchedMap::Slots {
    static constexpr std::size_t count = 256;

    std::array<Slot, count> slots;
    std::atomic<Slots *> next = nullptr;

    static Slots &first() {
        static auto *const slots = new Slots;
        return *slots;
    }

    /** A free one. REQUIRES the mutex. */
    static Slot &take() {
        for (Slots *part = &first();; part = part->next) {
            for (Slot &slot : part->slots) {
                if (slot.begin == 0) return slot;
            }
            if (part->next == nullptr) part->next = new Slots;
        }
    }
};

namespace {

std::mutex &mutexOfSlots() {
    static auto *const mutex = new std::mutex;
    return *mutex;
}

struct sigaction handlerBefore {};
std::uintptr_t pageSize = 0;

}  // namespace

std::atomic<bool> WatchedMap::lostAny_ = false;

WatchedMap::WatchedMap(std::string_view bytes, Access access) {
    if (bytes.empty()) return;
    const std::lock_guard lock(mutexOfSlots());
    install();
    Slot &slot = Slots::take();
    const auto begin = reinterpret_cast<std::uintptr_t>(bytes.data());
    slot.isLost = false;
    slot.isWritten = access == Access::writing;
    slot.end = (begin + bytes.size() + pageSize - 1) / pageSize * pageSize;
    slot.begin = begin;
    slot_ = &slot;
}

WatchedMap::WatchedMap(WatchedMap &&other) noexcept : slot_(std::exchange(other.slot_, nullptr)) {}

WatchedMap &WatchedMap::operator=(WatchedMap &&other) noexcept {
    std::swap(slot_, other.slot_);
    return *this;
}

void WatchedMap::end() {
    if (slot_ == nullptr) return;
    const std::lock_guard lock(mutexOfSlots());
    slot_->begin = 0;
    slot_ = nullptr;
}

bool WatchedMap::isLost() const {
    return slot_ != nullptr && slot_->isLost;
}

void WatchedMap::failLost(const std::filesystem::path &file) {
    throw Failure(Status::homeDamaged, {file.native(), "it was cut short while it was read"});
}

// Once. REQUIRES the mutex.
void WatchedMap::install() {
    if (pageSize != 0) return;
    pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
    Slots::first();
    struct sigaction action {};
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    action.sa_sigaction = [](int signal, siginfo_t *information, void *context) {
        handle(signal, information, context);
    };
    ::sigaction(SIGBUS, &action, &handlerBefore);
}

// What happens here is a few system calls and atomics, as in a handler it may.
void WatchedMap::handle(int signal, void *information, void *context) {
    auto *const told = static_cast<siginfo_t *>(information);
    if (told->si_code == BUS_ADRERR && takeOver(told->si_addr)) return;
    if ((handlerBefore.sa_flags & SA_SIGINFO) != 0)
        return handlerBefore.sa_sigaction(signal, told, context);
    if (handlerBefore.sa_handler != SIG_DFL && handlerBefore.sa_handler != SIG_IGN)
        return handlerBefore.sa_handler(signal);
    ::sigaction(SIGBUS, &handlerBefore, nullptr);  // it comes again at once, to whom it is due
}

/** Puts zeros in the place of what is behind the end of the file; false if that is none of ours. */
bool WatchedMap::takeOver(const void *address) {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    for (Slots *part = &Slots::first(); part != nullptr; part = part->next) {
        for (Slot &slot : part->slots) {
            const std::uintptr_t begin = slot.begin;
            if (begin == 0 || at < begin || at >= slot.end) continue;
            const int error = errno;
            const std::uintptr_t page = at / pageSize * pageSize;
            const int protection = PROT_READ | (slot.isWritten ? PROT_WRITE : 0);
            void *const zeros =
                ::mmap(reinterpret_cast<void *>(page), slot.end - page, protection,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE, -1, 0);
            errno = error;
            if (zeros == MAP_FAILED) return false;
            slot.isLost = true;
            lostAny_ = true;
            return true;
        }
    }
    return false;
}

namespace {

/** A line of the system's list of maps: "7f00-7f10 rw-s 00000000 08:01 1234 /path". */
struct Map {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    ino_t file = 0;
};

Map readMap(const std::string &line) {
    std::istringstream words(line);
    Map map;
    char dash = 0;
    std::string access;
    std::string offset;
    std::string device;
    words >> std::hex >> map.begin >> dash >> map.end >> access >> offset >> device >> std::dec >>
        map.file;
    return map;
}

std::string_view findMap(const std::function<bool(const Map &)> &isWanted) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const Map map = readMap(line);
        if (isWanted(map)) return {reinterpret_cast<const char *>(map.begin), map.end - map.begin};
    }
    return {};
}

}  // namespace

std::string_view mapOf(const std::filesystem::path &file) {
    struct stat found {};
    if (::stat(file.c_str(), &found) != 0) return {};
    return findMap([&](const Map &map) { return map.file == found.st_ino; });
}

std::string_view mapAround(const void *address) {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    return findMap([&](const Map &map) { return map.begin <= at && at < map.end; });
}

}  // namespace zdbs::embedded
