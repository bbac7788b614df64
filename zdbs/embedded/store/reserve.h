/** Room on the disk that is kept for what is done when there is none left. */
#ifndef ZDBS_EMBEDDED_STORE_RESERVE_H
#define ZDBS_EMBEDDED_STORE_RESERVE_H

#include <filesystem>
#include <functional>

namespace zdbs::embedded {

/**
 * A file of a home that takes room and holds nothing. Changes that take something away need
 * some room before they give any back, and on a full disk this is where they get it. One
 * process at a time uses or fills it; those who ask meanwhile wait. Whoever calls may hold any
 * other lock; `work` must not ask for one that somebody who calls could hold.
 *
 * Where the system will not give the room, the reserve is smaller, or there is none: nothing
 * here fails by itself.
 */
class Reserve {
public:
    static constexpr const char *fileName = "reserve";

    /** Of that home; nothing is looked up. */
    explicit Reserve(const std::filesystem::path &home);

    /** Takes the room that it lacks. Before whatever needs room lastingly. */
    void fill() const;

    /**
     * Runs `work` with the room free, and takes back afterwards what is left of it, also when
     * `work` throws. Without a reserve `work` has to find its room as it is.
     */
    void use(const std::function<void()> &work) const;

private:
    std::filesystem::path home_;
    std::filesystem::path path_;
};

}  // namespace zdbs::embedded

#endif
