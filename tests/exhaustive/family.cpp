#include "tests/exhaustive/family.h"

namespace exhaustive {
namespace {

using zdbs::Relation;
using zdbs::embedded::PositionTest;

std::vector<PositionTest> allTests() {
    std::vector<PositionTest> tests;
    for (const Relation relation :
         {Relation::equal, Relation::notEqual, Relation::less, Relation::lessEqual,
          Relation::greater, Relation::greaterEqual}) {
        for (const double place : {1.0, 2.0, 3.0, -1.0, -2.0, -3.0, 0.0, 0.5, 1.5, 2.5, -0.5, -1.5,
                                   -2.5, 6.0, -6.0, 1e9, -1e9, 1e300})
            tests.push_back({relation, place});
    }
    return tests;
}

}  // namespace

const std::vector<PositionTest> &positionTests() {
    static const std::vector<PositionTest> tests = allTests();
    return tests;
}

}  // namespace exhaustive
