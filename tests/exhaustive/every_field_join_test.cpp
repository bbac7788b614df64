/**
 * Joins and positions over sets by field, which an engine may leave open until they are asked
 * for: each two of them, and each with every set of nodes, on every axis of small forests. Sets
 * are made anew for each join, so that none was asked for before.
 */
#include <gtest/gtest.h>

#include "tests/exhaustive/family.h"
#include "tests/exhaustive/field_sets.h"
#include "tests/exhaustive/kernel_sets.h"
#include "tests/exhaustive/mask_sets.h"
#include "tests/exhaustive/share.h"

namespace exhaustive {
namespace {

using zdbs::Axis;
using zdbs::ResultSetPtr;
using zdbs::embedded::Direction;

/** Manners of keeping that a forest of four nodes gets. */
constexpr std::size_t keepings = 1;

/** A set by field, or one of nodes, or set 0. */
struct Side {
    const FieldSet *field = nullptr;
    ResultSetPtr plain = nullptr;
    Mask nodes = 0;
};

class Comparison {
public:
    explicit Comparison(const KeptForest &kept)
        : forest_(kept.nodes()),
          kernel_(forest_, kept.database()),
          fields_(fieldSetsOf(kept.nodes(), forest_)) {
        for (const FieldSet &field : fields_)
            sides_.push_back({&field, nullptr, field.nodes});
        sides_.push_back({nullptr, nullptr, forest_.everyNode()});
        for (Mask nodes = 0; nodes <= forest_.everyNode(); ++nodes)
            sides_.push_back({nullptr, kernel_.plain(nodes), nodes});
    }

    std::uint64_t run() {
        for (std::size_t axis = 0; axis < axisCount && fault_.empty(); ++axis) {
            for (std::size_t a = 0; a < sides_.size(); ++a) {
                for (std::size_t b = 0; b < sides_.size(); ++b) {
                    const bool isByField = a < fields_.size() || b < fields_.size();
                    if (isByField) compare(axisAt(axis), sides_[a], sides_[b]);
                }
            }
        }
        return compared_;
    }

    const std::string &fault() const { return fault_; }

private:
    ResultSetPtr make(const Side &side) {
        return side.field != nullptr ? kernel_.find(side.field->condition) : side.plain;
    }

    std::size_t define(MaskSets &sets, const Side &side) {
        return side.field != nullptr || side.plain ? sets.plain(side.nodes) : 0;
    }

    /** The join in both directions, a position after it, and the way back up to a stranger. */
    void compare(Axis axis, const Side &a, const Side &b) {
        MaskSets sets(forest_);
        const std::size_t first = define(sets, a);
        const std::size_t second = define(sets, b);
        const zdbs::embedded::PositionTest test =
            positionTests()[turn_.next(positionTests().size())];
        const std::string what = std::string(zdbs::nameOf(axis)) + " " + shown(a) + " " + shown(b);

        const ResultSetPtr kept = kernel_.join(axis, make(a), make(b), Direction::first);
        check(what + " 1", *kept, sets.nodes(sets.join(axis, first, second, Direction::first)));

        const ResultSetPtr down = kernel_.join(axis, make(a), make(b), Direction::second);
        const std::size_t step = sets.join(axis, first, second, Direction::second);
        // The open step is asked for by others before it is asked for itself.
        const ResultSetPtr chosen = kernel_.select(down, test);
        check(what + " 2, position", *chosen, sets.nodes(sets.select(step, test)));
        const std::size_t stranger = sets.plain(b.nodes);
        const ResultSetPtr up =
            kernel_.join(axis, b.field != nullptr || b.plain ? make(b) : kernel_.plain(b.nodes),
                         down, Direction::first);
        check(what + " 2, back up", *up,
              sets.nodes(sets.join(axis, stranger, step, Direction::first)));
        check(what + " 2", *down, sets.nodes(step));
    }

    void check(const std::string &what, const zdbs::ResultSet &set, Mask expected) {
        ++compared_;
        const Mask found = kernel_.maskOf(set);
        if (found == expected || !fault_.empty()) return;
        fault_ = what + " is " + forest_.shown(found) + " instead of " + forest_.shown(expected);
    }

    std::string shown(const Side &side) const {
        if (side.field != nullptr) return "(" + side.field->text + ")";
        return side.plain ? forest_.shown(side.nodes) : "0";
    }

    MaskForest forest_;
    KernelSets kernel_;
    std::vector<FieldSet> fields_;
    std::vector<Side> sides_;
    Turn turn_{13};
    std::uint64_t compared_ = 0;
    std::string fault_;
};

class EveryFieldJoin : public ::testing::TestWithParam<Share> {};

TEST_P(EveryFieldJoin, IsThatOfItsDefinition) {
    std::uint64_t compared = 0;
    forEachForest(GetParam(), keepings, [&](const KeptForest &kept) {
        if (HasFailure()) return;
        Comparison comparison(kept);
        compared += comparison.run();
        EXPECT_EQ(comparison.fault(), "") << kept.description();
    });
    EXPECT_GE(compared, 5000U);
    std::cout << compared << " sets compared\n";
}

INSTANTIATE_TEST_SUITE_P(ByNode, EveryFieldJoin,
                         ::testing::ValuesIn(sharesOf(Way::byNode, largestForest(4), 1)),
                         [](const auto &share) { return nameOf(share); });

INSTANTIATE_TEST_SUITE_P(ByPath, EveryFieldJoin,
                         ::testing::ValuesIn(sharesOf(Way::byPath, largestForest(4), 1)),
                         [](const auto &share) { return nameOf(share); });

INSTANTIATE_TEST_SUITE_P(Stored, EveryFieldJoin,
                         ::testing::ValuesIn(sharesOf(Way::stored, largestForest(3), 1)),
                         [](const auto &share) { return nameOf(share); });

}  // namespace
}  // namespace exhaustive
