#include "zdbs/session/set_table.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "zdbs/base/status.h"

namespace zdbs {
namespace {

class SizedSet : public ResultSet {
public:
    explicit SizedSet(std::int64_t size) : size_(size) {}
    std::int64_t size() const override { return size_; }
    std::int64_t hits() const override { return size_; }

private:
    std::int64_t size_;
};

ResultSetPtr sized(std::int64_t size) {
    return std::make_shared<SizedSet>(size);
}

void removeOne(SetTable &table, std::int32_t number) {
    const std::vector<SetReference> references{{number, 0}};
    table.remove(references);
}

TEST(SetTable, NumbersSetsFromOneInOrderOfCreation) {
    SetTable table;
    EXPECT_TRUE(table.empty());
    EXPECT_EQ(table.add(sized(10)), 1);
    EXPECT_EQ(table.add(sized(20)), 2);
    EXPECT_EQ(table.newest(), 2);
    EXPECT_EQ(table.find({1, 0})->size(), 10);
    for (std::int32_t missing : {0, 3, -1, INT32_MAX, INT32_MIN})
        EXPECT_THROW(table.find({missing, 0}), Failure) << missing;
}

TEST(SetTable, NumbersOnFromTheHighestThatIsThere) {
    SetTable table;
    for (int size = 1; size <= 3; ++size)
        table.add(sized(size));
    removeOne(table, 2);
    EXPECT_EQ(table.add(sized(4)), 4);
    removeOne(table, 4);
    removeOne(table, 3);
    EXPECT_EQ(table.newest(), 1) << "the second is gone too";
    EXPECT_EQ(table.add(sized(5)), 2);
}

TEST(SetTable, RemovesAllOrNone) {
    SetTable table;
    for (int size = 1; size <= 3; ++size)
        table.add(sized(size));
    const std::vector<SetReference> references{{1, 0}, {7, 3}};
    EXPECT_THROW(table.remove(references), Failure);
    EXPECT_EQ(table.find({1, 0})->size(), 1);
}

/** What a map from numbers to sets does, which shows at once what is meant. */
TEST(SetTable, IsAMapWhoseKeysCanBeMadeDense) {
    std::mt19937 random(20);
    SetTable table;
    std::map<std::int32_t, std::int64_t> model;
    for (int step = 0; step < 20000; ++step) {
        const auto choice = random() % 10;
        if (choice < 5 || model.empty()) {
            const std::int32_t number = model.empty() ? 1 : model.rbegin()->first + 1;
            ASSERT_EQ(table.add(sized(step)), number);
            model[number] = step;
        } else if (choice < 9) {
            auto victim = std::next(model.begin(), static_cast<int>(random() % model.size()));
            removeOne(table, victim->first);
            model.erase(victim);
        } else {
            table.renumber();
            std::map<std::int32_t, std::int64_t> dense;
            for (const auto &[number, size] : model)
                dense.emplace(static_cast<std::int32_t>(dense.size()) + 1, size);
            model = dense;
        }
        ASSERT_EQ(table.empty(), model.empty());
        ASSERT_EQ(model.empty() ? 0 : table.newest(), model.empty() ? 0 : model.rbegin()->first);
        for (const auto &[number, size] : model)
            ASSERT_EQ(table.find({number, 0})->size(), size);
    }
}

}  // namespace
}  // namespace zdbs
