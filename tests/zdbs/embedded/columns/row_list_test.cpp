#include "zdbs/embedded/columns/row_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

namespace zdbs::embedded {
namespace {

using Rows = std::vector<std::uint32_t>;

TEST(RowList, SortsFewAndManyRowsOfSmallAndLargeColumns) {
    std::mt19937 random(1);
    for (std::uint32_t size : {1U, 63U, 64U, 65U, 1000U, 100000U, 3000000U}) {
        for (std::size_t count : {0U, 1U, 2U, 50U, 1000U, 20000U}) {
            Rows rows;
            std::uint32_t step =
                std::max<std::uint32_t>(1, size / static_cast<std::uint32_t>(count + 1));
            for (std::uint32_t row = 0; row < size && rows.size() < count;
                 row += 1 + random() % step)
                rows.push_back(row);
            Rows expected = rows;
            std::shuffle(rows.begin(), rows.end(), random);
            sortRows(rows, size);
            ASSERT_EQ(rows, expected) << size << " " << count;
        }
    }
}

TEST(RowList, DropsRowsThatThereAreNot) {
    Rows rows{5, 99, 3, 10, 0xFFFFFFFF};
    sortRows(rows, 10);
    EXPECT_EQ(rows, (Rows{3, 5}));
}

TEST(RowList, AppendsRowsBehindOthers) {
    Rows rows{9};
    appendRows(3, 6, rows);
    appendRows(7, 7, rows);
    EXPECT_EQ(rows, (Rows{9, 3, 4, 5}));
}

}  // namespace
}  // namespace zdbs::embedded
