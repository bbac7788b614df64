/** Documents for these tests, the same ones every time. */
#ifndef TESTS_ROBUSTNESS_SAMPLE_XML_H
#define TESTS_ROBUSTNESS_SAMPLE_XML_H

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>

namespace robustness {

/**
 * Writes a document of `items` items, about 170 bytes each, with nodes of every kind.
 * Answers how many bytes it has.
 */
std::uint64_t writeSampleXml(std::ostream &out, std::uint32_t seed, std::size_t items);

std::string sampleXml(std::uint32_t seed, std::size_t items);

}  // namespace robustness

#endif
