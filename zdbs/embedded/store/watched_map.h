/** Maps of files that may become shorter while they are read. */
#ifndef ZDBS_EMBEDDED_STORE_WATCHED_MAP_H
#define ZDBS_EMBEDDED_STORE_WATCHED_MAP_H

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <string_view>

namespace zdbs::embedded {

/**
 * Watches a map of a file. Whoever reads behind the end of a file that was cut short gets the
 * signal SIGBUS, which would end the process. Within the bytes that are watched it becomes this:
 * from there on they are zero, and isLost() is true for ever. Who reads has to ask afterwards,
 * and to answer nothing where bytes were lost.
 *
 * The handler of the signal is there from the first watch on. What is not about these bytes it
 * hands on to the one that was there before. Any thread may ask.
 */
class WatchedMap {
public:
    /** Watches nothing. */
    WatchedMap() = default;

    /** What may be done to the bytes, also to those that take the place of lost ones. */
    enum class Access { reading, writing };

    /** REQUIRES that the bytes are mapped for that, from a page on, as long as this lives. */
    explicit WatchedMap(std::string_view bytes, Access access = Access::reading);

    ~WatchedMap() { end(); }
    WatchedMap(WatchedMap &&other) noexcept;
    WatchedMap &operator=(WatchedMap &&other) noexcept;

    bool isLost() const;

    /** Throws Failure: homeDamaged, naming the file, when bytes were lost. */
    void requireIntact(const std::filesystem::path &file) const {
        if (lostAny_.load(std::memory_order_relaxed) && isLost()) failLost(file);
    }

    /** Whether any map of the process lost some. */
    static bool lostAny() { return lostAny_.load(std::memory_order_relaxed); }

private:
    struct Slot;
    struct Slots;

    static void handle(int signal, void *information, void *context);
    static bool takeOver(const void *address);
    static void install();
    [[noreturn]] static void failLost(const std::filesystem::path &file);
    void end();

    static std::atomic<bool> lostAny_;
    Slot *slot_ = nullptr;
};

/** The bytes of the first map of a file; nothing when it has none, or the system does not tell. */
std::string_view mapOf(const std::filesystem::path &file);

/** The bytes of the map that an address is in; nothing when the system does not tell. */
std::string_view mapAround(const void *address);

}  // namespace zdbs::embedded

#endif
