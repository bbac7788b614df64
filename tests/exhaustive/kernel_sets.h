/** The kernel's sets of a small forest, made by conditions and read as masks. */
#ifndef TESTS_EXHAUSTIVE_KERNEL_SETS_H
#define TESTS_EXHAUSTIVE_KERNEL_SETS_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/exhaustive/mask_forest.h"
#include "zdbs/engine/engine.h"

namespace exhaustive {

/**
 * Evaluates conditions in an open database of the forest's nodes. The database numbers the
 * nodes as the forest does. Forest and database must outlive it.
 */
class KernelSets {
public:
    KernelSets(const MaskForest &forest, const zdbs::OpenDatabase &database);

    /** A set of these nodes: their numbers, joined by OR. */
    zdbs::ResultSetPtr plain(Mask nodes);

    /** A set by a condition that names no other. */
    zdbs::ResultSetPtr find(const zdbs::Condition &condition);

    /** XPATH(axis,a,b,direction); null is set 0. */
    zdbs::ResultSetPtr join(zdbs::Axis axis, const zdbs::ResultSetPtr &a,
                            const zdbs::ResultSetPtr &b, zdbs::embedded::Direction direction);

    /** XPATH(SELF,set,set,1,op,k); null is set 0. */
    zdbs::ResultSetPtr select(const zdbs::ResultSetPtr &set, zdbs::embedded::PositionTest test);

    /** S=a AND S=b, S=a NOT S=b, S=a OR S=b; null is set 0. */
    zdbs::ResultSetPtr intersect(const zdbs::ResultSetPtr &a, const zdbs::ResultSetPtr &b);
    zdbs::ResultSetPtr subtract(const zdbs::ResultSetPtr &a, const zdbs::ResultSetPtr &b);
    zdbs::ResultSetPtr unite(const zdbs::ResultSetPtr &a, const zdbs::ResultSetPtr &b);

    /** The records of a set; wrongSet when they are no ascending nodes of the forest. */
    Mask maskOf(const zdbs::ResultSet &set) const;

    static constexpr Mask wrongSet = ~Mask{0};

private:
    zdbs::ResultSetPtr evaluate(const zdbs::Condition &condition, const zdbs::ResultSetPtr &a,
                                const zdbs::ResultSetPtr &b);
    zdbs::ResultSetPtr evaluatePair(zdbs::Condition &condition, const zdbs::ResultSetPtr &a,
                                    const zdbs::ResultSetPtr &b);

    const MaskForest &forest_;
    const zdbs::OpenDatabase &database_;
    zdbs::SetLookup lookup_;
    const zdbs::ResultSetPtr *slots_[2] = {};
    zdbs::Condition join_;
    zdbs::Condition select_;
    zdbs::Condition intersect_;
    zdbs::Condition subtract_;
    zdbs::Condition unite_;
};

}  // namespace exhaustive

#endif
