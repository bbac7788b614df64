/** One of two engines that are asked the same. */
#ifndef TESTS_ENGINE_CONFORMANCE_SIDE_H
#define TESTS_ENGINE_CONFORMANCE_SIDE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/engine_conformance/collection.h"
#include "tests/engine_conformance/finder.h"
#include "tests/support/choices.h"

namespace zdbs::conformance {

/** An engine with its database, and what was found in it. The same choices ask both the same. */
class Side {
public:
    explicit Side(const EngineUnderTest &engine)
        : collection(engine), database(collection.open()) {}

    std::uint64_t nodes() { return collection.administration().summary("db").nodes; }

    /** Forgets what was found. */
    void startAgain() { finder.emplace(*database); }

    /** All that can be asked of a set. */
    std::string described(const ResultSet &set) const;

    /** Finds one more set by a condition at random. REQUIRES startAgain(). */
    std::string found(support::Choices choices);

    /** Fragments of the set found last, by specifications at random. */
    std::string told(support::Choices choices);

    /** The sets as a later state has them. */
    std::string carriedOver();

    Collection collection;
    std::unique_ptr<OpenDatabase> database;
    std::optional<Finder> finder;
};

}  // namespace zdbs::conformance

#endif
