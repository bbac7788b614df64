/** A progress bar on a terminal. */
#ifndef ZDBS_ADMIN_PROGRESS_H
#define ZDBS_ADMIN_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

namespace zdbs::admin {

/** What a bar shows. */
struct ProgressState {
    std::uint64_t done = 0;   ///< bytes
    std::uint64_t total = 0;  ///< bytes; 0 when that is not known
    double seconds = 0;       ///< since the beginning
};

/**
 * One line of at most `width` characters, all ASCII:
 * " 42% [########            ]  12.3 MB/s  0:07 left", or without a total
 * "12.3 MB  4.5 MB/s". Narrow terminals lose the bar first, then the rest.
 */
std::string progressLine(const ProgressState &state, std::size_t width);

/**
 * Shows the line on standard error, ten times a second at most, and nothing at
 * all when that is no terminal.
 */
class Progress {
public:
    explicit Progress(std::uint64_t total);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    void update(std::uint64_t done);

    /** Takes the line away: for a message, or at the end. The next update shows it again. */
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    bool isShown_;
    std::uint64_t total_;
    Clock::time_point start_ = Clock::now();
    Clock::time_point next_ = start_;
    bool hasLine_ = false;
};

}  // namespace zdbs::admin

#endif
