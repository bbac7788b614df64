/** Many small documents. */
#ifndef BENCH_GENERATE_RECORDS_H
#define BENCH_GENERATE_RECORDS_H

#include <cstdint>
#include <filesystem>

namespace bench {

/**
 * Writes `count` records of a catalogue, a file each, a thousand to a folder:
 * `directory`/000/000000.xml and so on. The same for the same seed.
 * Throws std::exception.
 */
void writeRecords(const std::filesystem::path &directory, std::uint32_t count, std::uint64_t seed);

}  // namespace bench

#endif
