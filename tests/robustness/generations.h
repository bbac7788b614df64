/**
 * The states of a database that a writer runs through while others read: in generation g
 * left.xml has elements `a`, right.xml as many elements `b`, and generation.xml tells g and
 * their number. Every generation has another number, so each count that a reader finds
 * names the one generation that it is from. Meanwhile extra.xml, one node, comes and goes.
 */
#ifndef TESTS_ROBUSTNESS_GENERATIONS_H
#define TESTS_ROBUSTNESS_GENERATIONS_H

#include <cstdint>
#include <optional>
#include <string>

namespace robustness {

inline constexpr std::int32_t generationLimit = 211;  // a prime, so that no number comes twice

/** How many elements `a`, and how many `b`, generation g has. */
constexpr std::int32_t elementsOf(std::int32_t generation) {
    return 20 + generation * 37 % generationLimit;
}

constexpr std::optional<std::int32_t> generationOf(std::int32_t elements) {
    for (std::int32_t g = 0; g < generationLimit; ++g) {
        if (elementsOf(g) == elements) return g;
    }
    return std::nullopt;
}

/** Elements `c` of other.xml, a document that every third generation does not have. */
constexpr std::int32_t othersOf(std::int32_t generation) {
    return generation % 3 == 0 ? 0 : 1 + generation % 11 * 30;
}

/** Nodes of the whole database: three roots, the elements, two attributes, other.xml. */
constexpr std::int32_t nodesOf(std::int32_t generation) {
    const std::int32_t others = othersOf(generation);
    return 2 * (1 + elementsOf(generation)) + 3 + (others == 0 ? 0 : 1 + others);
}

inline std::string elementsXml(const std::string &root, const std::string &element,
                               std::int32_t count) {
    std::string xml = "<" + root + ">";
    for (std::int32_t i = 0; i < count; ++i)
        xml += "<" + element + "/>";
    return xml + "</" + root + ">";
}

inline std::string generationXml(std::int32_t generation) {
    return "<generation number='" + std::to_string(generation) + "' total='" +
           std::to_string(elementsOf(generation)) + "'/>";
}

}  // namespace robustness

#endif
