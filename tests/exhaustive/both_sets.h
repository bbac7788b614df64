/** The same sets made by the kernel and by definition, operation by operation. */
#ifndef TESTS_EXHAUSTIVE_BOTH_SETS_H
#define TESTS_EXHAUSTIVE_BOTH_SETS_H

#include <cstdint>
#include <string>
#include <vector>

#include "tests/exhaustive/kernel_sets.h"
#include "tests/exhaustive/mask_sets.h"

namespace exhaustive {

/** When sets are compared: as soon as they are made, or all at the end and the last first. */
enum class Comparing { atOnce, lastFirst };

/**
 * Sets are numbered from 1; 0 is every node there is. Each operation makes the next set.
 * Forest and database must outlive it.
 */
class BothSets {
public:
    BothSets(const MaskForest &forest, const zdbs::OpenDatabase &database);

    std::size_t plain(Mask nodes);
    std::size_t join(zdbs::Axis axis, std::size_t a, std::size_t b,
                     zdbs::embedded::Direction direction);
    std::size_t select(std::size_t set, zdbs::embedded::PositionTest test);
    std::size_t intersect(std::size_t a, std::size_t b);
    std::size_t subtract(std::size_t a, std::size_t b);
    std::size_t unite(std::size_t a, std::size_t b);

    /** How the sets to come are compared; at first, at once. */
    void setComparing(Comparing comparing) { comparing_ = comparing; }

    /** Forgets all sets from a number on; before, compares what was not compared yet. */
    void truncate(std::size_t size);

    std::size_t nodeCount() const { return forest_.nodeCount(); }

    /** Sets that were compared, the plain ones not counted. */
    std::uint64_t compared() const { return compared_; }

    /** All sets so far and how they were made, when one was wrong; else "". */
    const std::string &fault() const { return fault_; }

private:
    enum class Operation : std::uint8_t { plain, join, select, intersect, subtract, unite };

    /** How a set was made; the rest is as the operation has it. */
    struct Made {
        Operation operation;
        std::size_t a = 0;
        std::size_t b = 0;
        zdbs::Axis axis = zdbs::Axis::self;
        zdbs::embedded::Direction direction = zdbs::embedded::Direction::first;
        zdbs::embedded::PositionTest test{zdbs::Relation::equal, 0};
    };

    std::size_t keep(zdbs::ResultSetPtr set, std::size_t number, const Made &made);
    void compare(std::size_t number);
    static std::string shown(const Made &made);
    std::string story() const;

    const MaskForest &forest_;
    KernelSets kernel_;
    MaskSets naive_;
    std::vector<zdbs::ResultSetPtr> sets_;
    std::vector<Made> made_;
    Comparing comparing_ = Comparing::atOnce;
    std::size_t pending_ = 0;  ///< so many of the last sets are still to be compared
    std::uint64_t compared_ = 0;
    std::string fault_;
};

}  // namespace exhaustive

#endif
