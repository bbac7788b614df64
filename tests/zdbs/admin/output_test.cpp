#include "zdbs/admin/output.h"

#include <gtest/gtest.h>

namespace zdbs::admin {
namespace {

constexpr auto left = TextTable::Align::left;
constexpr auto right = TextTable::Align::right;

TEST(TextTable, AlignsItsColumns) {
    TextTable table({left, right, left});
    table.add({"NAME", "N", "MORE"});
    table.add({"a", "1000", "x"});
    table.add({"longer", "1", ""});
    EXPECT_EQ(table.text(),
              "NAME       N  MORE\n"
              "a       1000  x\n"
              "longer     1\n");
}

TEST(TextTable, CountsCharactersAndNotBytes) {
    TextTable table({left, left});
    table.add({"\xc3\xa4\xe2\x82\xac", "x"});
    table.add({"abc", "y"});
    EXPECT_EQ(table.text(), "\xc3\xa4\xe2\x82\xac   x\nabc  y\n");
}

TEST(TextTable, TakesShorterRows) {
    TextTable table({left, right, left});
    table.add({"a", "1"});
    table.add({"b", "22", "c"});
    EXPECT_EQ(table.text(), "a   1\nb  22  c\n");
    EXPECT_EQ(TextTable({left}).text(), "");
}

}  // namespace
}  // namespace zdbs::admin
