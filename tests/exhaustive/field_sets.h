/** Sets of the nodes of a forest by their fields, and who is in them by definition. */
#ifndef TESTS_EXHAUSTIVE_FIELD_SETS_H
#define TESTS_EXHAUSTIVE_FIELD_SETS_H

#include <string>
#include <vector>

#include "tests/exhaustive/mask_forest.h"
#include "zdbs/language/command.h"

namespace exhaustive {

/** A condition on fields alone. An engine may leave it open until somebody asks who is in it. */
struct FieldSet {
    std::string text;
    zdbs::Condition condition;
    Mask nodes;
};

/** By kind, by every name of the forest, by value, and by some of these together. */
std::vector<FieldSet> fieldSetsOf(const zdbs::embedded::NodeTable &table, const MaskForest &forest);

}  // namespace exhaustive

#endif
