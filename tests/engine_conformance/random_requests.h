/** Conditions and fragment specifications at random. */
#ifndef TESTS_ENGINE_CONFORMANCE_RANDOM_REQUESTS_H
#define TESTS_ENGINE_CONFORMANCE_RANDOM_REQUESTS_H

#include <array>
#include <string>
#include <vector>

#include "tests/engine_conformance/finder.h"
#include "tests/support/choices.h"
#include "zdbs/engine/fragments.h"
#include "zdbs/language/command.h"

namespace zdbs::conformance {

/**
 * Makes what can be asked of the sets that a finder has. The same seed makes the same for finders
 * of different engines over the same documents: where numbers of records stand, each engine's own.
 */
class RandomRequests {
public:
    RandomRequests(support::Choices choices, const Finder &finder)
        : random_(choices), finder_(finder) {}

    Condition condition();
    std::vector<FragmentSpec> specs();

    /** Some of the sets. */
    std::vector<ResultSetPtr> marked();

private:
    std::size_t below(std::size_t limit) { return random_() % limit; }
    bool oneIn(std::size_t count) { return below(count) == 0; }

    template <typename T, std::size_t Size>
    T any(const std::array<T, Size> &choices) {
        return choices[below(Size)];
    }

    Condition conjuncts(int depth);
    Term term(int depth);
    SetReference set();
    FieldTerm field();
    std::string literal(Field field);
    std::string record();
    Relation relation(bool comparison);
    FragmentPath path();
    NodeTest nodeTest();
    FragmentFilter filter(int depth);

    support::Choices random_;
    const Finder &finder_;
};

/** A condition as it is written, but for the numbers of records and what cannot be written. */
std::string written(const Condition &condition);

}  // namespace zdbs::conformance

#endif
