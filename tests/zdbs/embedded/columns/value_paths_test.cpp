#include "zdbs/embedded/columns/value_paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "zdbs/embedded/columns/value_column.h"

namespace zdbs::embedded {
namespace {

using Keys = std::vector<ValueKey>;
using KeysByPath = std::vector<Keys>;
using Paths = std::vector<std::uint32_t>;

std::vector<PathKeys> pathKeysOf(const KeysByPath &keys) {
    std::vector<PathKeys> paths;
    for (std::uint32_t path = 0; path < keys.size(); ++path)
        paths.push_back({path, keys[path]});
    return paths;
}

ValuePaths::Shape shapeOf(const KeysByPath &keys) {
    std::size_t count = 0;
    for (const Keys &ofPath : keys)
        count += ofPath.size();
    return ValuePaths::shapeFor(count, keys.size());
}

std::string packed(const KeysByPath &keys) {
    std::string bytes;
    packValuePaths(pathKeysOf(keys), shapeOf(keys), bytes);
    return bytes;
}

Paths pathsOf(const ValuePaths &index, ValueKey key) {
    Paths paths;
    index.forPathsOf(key, [&](std::uint32_t path) { paths.push_back(path); });
    return paths;
}

/** So many keys for each path; some are in several paths, some twice in one. */
KeysByPath randomKeys(std::mt19937 &random, std::size_t paths, std::size_t most) {
    KeysByPath keys(paths);
    Keys shared(20);
    for (ValueKey &key : shared)
        key = static_cast<ValueKey>(random());
    for (Keys &ofPath : keys) {
        for (std::size_t left = random() % (most + 1); left > 0; --left) {
            ofPath.push_back(random() % 4 == 0 ? shared[random() % shared.size()]
                                               : static_cast<ValueKey>(random()));
            if (random() % 8 == 0) ofPath.push_back(ofPath[random() % ofPath.size()]);
        }
    }
    keys.back().push_back(0);
    keys.front().push_back(0xffffffff);
    return keys;
}

TEST(ValuePaths, LeaveOutNoPathThatHasTheKey) {
    std::mt19937 random(1);
    const struct {
        std::size_t paths;
        std::size_t most;
    } sizes[] = {{1, 0}, {1, 3}, {1, 2000}, {2, 1}, {3, 40}, {17, 300}, {600, 30}, {70000, 1}};
    for (const auto &size : sizes) {
        const KeysByPath keys = randomKeys(random, size.paths, size.most);
        const std::string bytes = packed(keys);
        ASSERT_TRUE(ValuePaths::isWhole(bytes));
        const ValuePaths index(bytes);
        for (std::uint32_t path = 0; path < keys.size(); ++path) {
            for (const ValueKey key : keys[path]) {
                const Paths found = pathsOf(index, key);
                ASSERT_TRUE(std::binary_search(found.begin(), found.end(), path));
                ASSERT_TRUE(std::adjacent_find(found.begin(), found.end(),
                                               std::greater_equal<>()) == found.end())
                    << "ascending, none twice";
                ASSERT_TRUE(index.has(key, path));
            }
        }
    }
}

TEST(ValuePaths, SeldomNameAPathThatHasNotTheKey) {
    std::mt19937 random(2);
    for (const std::size_t most : {10U, 300U, 1200U}) {
        const ValuePaths::Shape shape = shapeOf(randomKeys(random, 300, most));
        EXPECT_EQ(shape.fingerprintBits, 8U);
        const KeysByPath keys = randomKeys(random, 300, most);
        const std::string bytes = packed(keys);
        const ValuePaths index(bytes);
        std::set<ValueKey> known;
        for (const Keys &ofPath : keys)
            known.insert(ofPath.begin(), ofPath.end());
        std::size_t asked = 0;
        std::size_t named = 0;
        while (asked < 20000) {
            const auto key = static_cast<ValueKey>(random());
            if (known.contains(key)) continue;
            ++asked;
            named += pathsOf(index, key).size();
        }
        EXPECT_LT(named, asked / 25);
        EXPECT_GT(named, 0U) << "fingerprints are short";
    }
}

TEST(ValuePaths, TakeAFewBitsForEachEntry) {
    std::mt19937 random(3);
    const KeysByPath keys = randomKeys(random, 300, 1200);
    const std::string bytes = packed(keys);
    EXPECT_LT(bytes.size() * 8, std::size_t{ValuePaths(bytes).size()} * 22);
}

TEST(ValuePaths, OfOneKeyInManyPathsNameAll) {
    KeysByPath keys(1000, Keys{12345});
    const std::string bytes = packed(keys);
    const ValuePaths index(bytes);
    EXPECT_EQ(index.size(), 1000U);
    EXPECT_EQ(pathsOf(index, 12345).size(), 1000U);
}

TEST(ValuePaths, OfNothingNameNone) {
    EXPECT_TRUE(pathsOf(ValuePaths(), 0).empty());
    EXPECT_FALSE(ValuePaths().has(0, 0));
    EXPECT_TRUE(ValuePaths().entries().empty());
}

TEST(ValuePaths, KeepEveryShapeThatFitsIntoTheBits) {
    std::mt19937 random(4);
    const KeysByPath keys = randomKeys(random, 5, 40);
    for (const ValuePaths::Shape shape : {ValuePaths::Shape{0, 0, 3},
                                          {0, 29, 3},
                                          {3, 29, 3},
                                          {12, 20, 3},
                                          {0, 8, 24},
                                          {1, 0, 32},
                                          {16, 16, 16}}) {
        std::string bytes;
        packValuePaths(pathKeysOf(keys), shape, bytes);
        ASSERT_TRUE(ValuePaths::isWhole(bytes));
        const ValuePaths index(bytes);
        EXPECT_EQ(index.shape(), shape);
        for (std::uint32_t path = 0; path < keys.size(); ++path) {
            for (const ValueKey key : keys[path])
                EXPECT_TRUE(index.has(key, path));
        }
    }
}

TEST(ValuePaths, GiveTheirEntriesInOrderAndOnce) {
    std::mt19937 random(5);
    const KeysByPath keys = randomKeys(random, 40, 100);
    const std::string bytes = packed(keys);
    const ValuePaths index(bytes);
    std::set<ValuePaths::Entry> expected;
    const auto [bucketBits, fingerprintBits, pathBits] = index.shape();
    for (std::uint32_t path = 0; path < keys.size(); ++path) {
        for (const std::uint64_t key : keys[path])
            expected.insert(
                {static_cast<std::uint32_t>(key >> (32 - bucketBits)),
                 static_cast<std::uint32_t>(key >> (32 - bucketBits - fingerprintBits)) &
                     ((1U << fingerprintBits) - 1),
                 path});
    }
    EXPECT_EQ(index.entries(), std::vector(expected.begin(), expected.end()));
}

TEST(ValuePaths, AreNotWholeWhenAPartDoesNotFit) {
    std::mt19937 random(6);
    const std::string bytes = packed(randomKeys(random, 40, 10));
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_FALSE(ValuePaths::isWhole(std::string_view(bytes).substr(0, size))) << size;
    const auto with = [&](std::size_t at, int value) {
        std::string changed = bytes;
        changed[at] = static_cast<char>(value);
        return changed;
    };
    EXPECT_FALSE(ValuePaths::isWhole(with(0, 33)));
    EXPECT_FALSE(ValuePaths::isWhole(with(0, 32)));
    EXPECT_FALSE(ValuePaths::isWhole(with(0, bytes[0] + 1)));
    EXPECT_FALSE(ValuePaths::isWhole(with(1, 200)));
    EXPECT_FALSE(ValuePaths::isWhole(with(2, 25)));
    EXPECT_FALSE(ValuePaths::isWhole(with(7, 1))) << "the size of the starts";
}

// What is asked of them then makes no sense, but comes to an end and stays inside.
TEST(ValuePaths, ThatAreDamagedAreReadWithoutHarm) {
    std::mt19937 random(7);
    const KeysByPath keys = randomKeys(random, 40, 30);
    const std::string bytes = packed(keys);
    std::size_t read = 0;
    for (int turn = 0; turn < 3000; ++turn) {
        std::string damaged = bytes;
        for (int left = 1 + static_cast<int>(random() % 6); left > 0; --left)
            damaged[random() % (turn % 2 == 0 ? damaged.size() : 300)] =
                static_cast<char>(random());
        const std::vector<char> exact(damaged.begin(), damaged.end());
        const std::string_view view(exact.data(), exact.size());
        if (!ValuePaths::isWhole(view)) continue;
        ++read;
        const ValuePaths index(view);
        EXPECT_LE(index.entries().size(), index.size());
        for (const Keys &ofPath : keys)
            EXPECT_LE(pathsOf(index, ofPath.empty() ? 0 : ofPath[0]).size(), index.size());
    }
    EXPECT_GT(read, 100U);
}

}  // namespace
}  // namespace zdbs::embedded
