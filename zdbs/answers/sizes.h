/** Numbers for people. */
#ifndef ZDBS_ANSWERS_SIZES_H
#define ZDBS_ANSWERS_SIZES_H

#include <chrono>
#include <cstdint>
#include <string>

namespace zdbs {

/** "0 B", "999 B", "1.0 kB", "12.3 MB", "4.0 GB": powers of 1000, three to four digits. */
std::string sizeText(std::uint64_t bytes);

/** "7", "2 031", "12 345 678". */
std::string countText(std::uint64_t count);

/** "0:05", "12:34", "1:02:03". */
std::string durationText(std::uint64_t seconds);

/** "0.4 s", "59.9 s", and from there on as durationText(). */
std::string secondsText(std::chrono::nanoseconds time);

/** How often `whole` goes into `part`, "2.8 x"; empty when there is nothing to compare with. */
std::string ratioText(std::uint64_t part, std::uint64_t whole);

/** "0.021", "1234.567". */
std::string millisecondsText(std::chrono::nanoseconds time);

}  // namespace zdbs

#endif
