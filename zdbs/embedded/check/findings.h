/** What a check finds. */
#ifndef ZDBS_EMBEDDED_CHECK_FINDINGS_H
#define ZDBS_EMBEDDED_CHECK_FINDINGS_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "zdbs/engine/administration.h"

namespace zdbs::embedded {

/**
 * Collects findings: the first ones of each structure, and how many there are, so that
 * damage of any extent gives a list that can be read.
 */
class Findings {
public:
    explicit Findings(std::size_t mostOfAStructure, std::size_t mostOfAll)
        : mostOfAStructure_(mostOfAStructure), mostOfAll_(mostOfAll) {}

    void add(const std::string &place, const std::string &structure, std::string text);

    /** How many there are. */
    std::uint64_t count() const { return count_; }

    /** Those that were kept; of a structure with more of them the last one says how many. */
    std::vector<Finding> take();

private:
    struct Structure {
        std::uint64_t found = 0;
        std::size_t lastKept = 0;
    };

    std::size_t mostOfAStructure_;
    std::size_t mostOfAll_;
    std::uint64_t count_ = 0;
    std::vector<Finding> kept_;
    std::map<std::pair<std::string, std::string>, Structure> structures_;
};

/** What a finding says of a number that is not what it should be. */
std::string differs(std::uint64_t stored, std::uint64_t expected);

}  // namespace zdbs::embedded

#endif
