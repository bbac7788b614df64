/** What a server has done, as numbers. */
#ifndef ZDBS_SERVE_METRICS_H
#define ZDBS_SERVE_METRICS_H

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

namespace zdbs::serve {

/** What is so at the moment. */
struct Gauges {
    std::uint64_t connections = 0;
    std::uint64_t running = 0;
    std::uint64_t waiting = 0;
    std::uint64_t sessions = 0;  ///< that are open and idle
    std::uint64_t kernels = 0;   ///< sessions of kernel libraries
};

/** Any thread may call. */
class Metrics {
public:
    using Counter = std::atomic<std::uint64_t>;

    void count(unsigned status, std::uint64_t bytes, std::chrono::nanoseconds time);

    Counter connections = 0;  ///< that were accepted
    Counter droppedSlow = 0;  ///< connections that sent or took nothing for too long
    Counter clientsGone = 0;  ///< requests that nobody waited for any more
    Counter stoppedTime = 0;  ///< requests that were over their time
    Counter stoppedMemory = 0;
    Counter slowHashes = 0;   ///< of passwords
    Counter keptAnswers = 0;  ///< that were sent once more

    /** The text format of Prometheus. */
    std::string text(const Gauges &gauges) const;

private:
    static constexpr std::array<double, 8> bounds = {0.001, 0.005, 0.025, 0.1, 0.5, 2.5, 10, 60};

    std::array<Counter, 6> byClass_{};  ///< 1xx to 5xx, by first digit
    std::array<Counter, bounds.size() + 1> byTime_{};
    Counter nanoseconds_ = 0;
    Counter bytes_ = 0;
};

}  // namespace zdbs::serve

#endif
