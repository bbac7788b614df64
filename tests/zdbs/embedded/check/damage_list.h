/** Everything that is known to go wrong with a database, one damage an entry. */
#ifndef TESTS_ZDBS_EMBEDDED_CHECK_DAMAGE_LIST_H
#define TESTS_ZDBS_EMBEDDED_CHECK_DAMAGE_LIST_H

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/zdbs/embedded/check/damaged_database.h"

namespace zdbs::embedded {

struct Damage {
    const char *name;
    std::function<void(const DamagedDatabase &)> inflict;
    const char *found;  ///< a piece of one of the findings: the place and the structure
};

inline void PrintTo(const Damage &damage, std::ostream *out) {
    *out << damage.name;
}

std::vector<Damage> fileDamages();
std::vector<Damage> catalogueDamages();

/** All of these with checksums that are right. */
std::vector<Damage> segmentDamages();

}  // namespace zdbs::embedded

#endif
