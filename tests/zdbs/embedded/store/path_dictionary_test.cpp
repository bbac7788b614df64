#include "zdbs/embedded/store/path_dictionary.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <tuple>

namespace zdbs::embedded {
namespace {

constexpr auto element = NodeKind::element;
constexpr auto text = NodeKind::text;

TEST(PathDictionary, GivesEachWayOfNamesAndKindsOneNumber) {
    PathDictionary paths;
    const PathId a = paths.child(noPath, element, 5);
    const PathId ab = paths.child(a, element, 6);
    const PathId abText = paths.child(ab, text, noName);
    EXPECT_EQ(a, 0U);
    EXPECT_EQ(ab, 1U);
    EXPECT_EQ(abText, 2U);
    EXPECT_EQ(paths.child(a, element, 6), ab);
    EXPECT_NE(paths.child(a, NodeKind::attribute, 6), ab);
    EXPECT_NE(paths.child(ab, element, 6), ab);
    EXPECT_EQ(paths[abText].level, 3U);
    EXPECT_EQ(paths[abText].parent, ab);
    EXPECT_EQ(paths[abText].name, noName);
    EXPECT_EQ(paths.size(), 5U);
}

TEST(PathDictionary, PutsWhatIsTooDeepIntoOnePathOfItsKind) {
    PathDictionary paths({2, 1000});
    const PathId a = paths.child(noPath, element, 1);
    const PathId b = paths.child(a, element, 1);
    const PathId deep = paths.child(b, element, 1);
    EXPECT_TRUE(paths[b].isRegular);
    EXPECT_FALSE(paths[deep].isRegular);
    EXPECT_EQ(paths[deep].level, 0U);
    EXPECT_EQ(paths[deep].parent, noPath);
    EXPECT_EQ(paths.child(b, element, 2), deep);
    EXPECT_EQ(paths.child(deep, element, 1), deep);
    const PathId deepText = paths.child(deep, text, noName);
    EXPECT_NE(deepText, deep);
    EXPECT_FALSE(paths[deepText].isRegular);
}

TEST(PathDictionary, PutsNewPathsIntoIrregularOnesWhenItIsFull) {
    PathDictionary paths({200, 3});
    for (std::uint32_t name = 0; name < 3; ++name)
        EXPECT_TRUE(paths[paths.child(noPath, element, name)].isRegular);
    const PathId irregular = paths.child(noPath, element, 3);
    EXPECT_FALSE(paths[irregular].isRegular);
    EXPECT_EQ(paths.child(0, element, 0), irregular);
    EXPECT_EQ(paths.child(noPath, element, 1), 1U) << "known ones stay";
}

TEST(PathDictionary, ForgetsTheLastOnes) {
    PathDictionary paths({3, 1000});
    const PathId a = paths.child(noPath, element, 1);
    const PathId b = paths.child(a, element, 1);
    paths.child(paths.child(b, element, 1), element, 1);
    EXPECT_EQ(paths.size(), 4U);
    paths.truncate(2);
    EXPECT_EQ(paths.size(), 2U);
    EXPECT_EQ(paths.child(a, element, 1), b);
    EXPECT_EQ(paths.child(b, text, noName), 2U);
    EXPECT_FALSE(paths[paths.child(paths.child(b, element, 9), element, 9)].isRegular);
}

TEST(PathDictionary, AgreesWithAMap) {
    std::mt19937 random(1);
    PathDictionary paths({50, 4000});
    std::map<std::tuple<PathId, NodeKind, std::uint32_t>, PathId> known;
    for (int turn = 0; turn < 50000; ++turn) {
        const PathId parent =
            paths.size() == 0 || random() % 50 == 0 ? noPath : random() % paths.size();
        if (parent != noPath && (!paths[parent].isRegular || paths[parent].kind != element))
            continue;
        const auto kind = static_cast<NodeKind>(random() % 3);
        const std::uint32_t name = kind == text ? noName : random() % 5;
        const PathId path = paths.child(parent, kind, name);
        const auto [place, isNew] = known.emplace(std::tuple(parent, kind, name), path);
        ASSERT_EQ(place->second, path);
        ASSERT_EQ(paths[path].kind, kind);
        if (!paths[path].isRegular) continue;
        ASSERT_EQ(paths[path].parent, parent);
        ASSERT_EQ(paths[path].name, name);
    }
    EXPECT_GT(paths.size(), 4000U);
}

}  // namespace
}  // namespace zdbs::embedded
