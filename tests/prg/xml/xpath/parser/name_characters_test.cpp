// Which characters beyond ASCII make names: the ends of every range, and all of the first plane.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "parser_support.h"

using namespace xpathtest;

namespace {

enum class Role { none, inner, start };

std::string utf8(unsigned point) {
    const auto tail = [](unsigned bits) { return static_cast<char>(0x80 | (bits & 0x3F)); };
    if (point < 0x800) return {static_cast<char>(0xC0 | (point >> 6)), tail(point)};
    if (point < 0x10000) {
        return {static_cast<char>(0xE0 | (point >> 12)), tail(point >> 6), tail(point)};
    }
    return {static_cast<char>(0xF0 | (point >> 18)), tail(point >> 12), tail(point >> 6),
            tail(point)};
}

std::string bytes(const std::string &text) {
    std::string result;
    for (const char byte : text) {
        result += ' ' + std::to_string(static_cast<int>(static_cast<signed char>(byte)));
    }
    return result;
}

/// What the scanner makes of the character alone, and behind an "a".
void expectRole(Role role, unsigned point) {
    const std::string character = utf8(point);
    const std::string single = "NCNAME(" + character + ")";
    const std::string joined = "NCNAME(a" + character + ")";
    char name[16];
    std::snprintf(name, sizeof name, "U+%04X", point);
    if (role == Role::start) {
        EXPECT_EQ(single, tokens(character)) << name;
    } else {
        EXPECT_EQ(bytes(character).substr(1), tokens(character)) << name;
    }
    EXPECT_EQ(role == Role::none ? "NCNAME(a)" + bytes(character) : joined, tokens("a" + character))
        << name;
}

struct Range {
    unsigned first;
    unsigned last;
    Role role;
};

constexpr Range ranges[] = {
    {0x00B8, 0x00B8, Role::inner}, {0x00C0, 0x00D6, Role::start}, {0x00D8, 0x00F6, Role::start},
    {0x00F8, 0x02FF, Role::start}, {0x0300, 0x036F, Role::inner}, {0x0370, 0x037D, Role::start},
    {0x037F, 0x1FFF, Role::start}, {0x200C, 0x200D, Role::start}, {0x2040, 0x2040, Role::inner},
    {0x2070, 0x218F, Role::start}, {0x2C00, 0x2FBF, Role::start}, {0x3001, 0xD7FF, Role::start},
    {0xF900, 0xFDBF, Role::start}, {0xFDF0, 0xFFFD, Role::start}, {0x10000, 0xEFFFF, Role::start},
};

Role roleOf(unsigned point) {
    for (const Range &range : ranges) {
        if (point >= range.first && point <= range.last) return range.role;
    }
    return Role::none;
}

}  // namespace

TEST(NameCharacters, TheEndsOfEachRangeAreInItAndTheirNeighboursAreNot) {
    struct {
        unsigned point;
        Role role;
    } const facts[] = {
        {0x0080, Role::none},   {0x00B7, Role::none},   {0x00B8, Role::inner},
        {0x00B9, Role::none},   {0x00BF, Role::none},   {0x00C0, Role::start},
        {0x00D6, Role::start},  {0x00D7, Role::none},   {0x00D8, Role::start},
        {0x00F6, Role::start},  {0x00F7, Role::none},   {0x00F8, Role::start},
        {0x00FF, Role::start},  {0x0100, Role::start},  {0x02FF, Role::start},
        {0x0300, Role::inner},  {0x036F, Role::inner},  {0x0370, Role::start},
        {0x037D, Role::start},  {0x037E, Role::none},   {0x037F, Role::start},
        {0x0380, Role::start},  {0x07FF, Role::start},  {0x0800, Role::start},
        {0x0FFF, Role::start},  {0x1000, Role::start},  {0x1FFF, Role::start},
        {0x2000, Role::none},   {0x200B, Role::none},   {0x200C, Role::start},
        {0x200D, Role::start},  {0x200E, Role::none},   {0x203F, Role::none},
        {0x2040, Role::inner},  {0x2041, Role::none},   {0x206F, Role::none},
        {0x2070, Role::start},  {0x218F, Role::start},  {0x2190, Role::none},
        {0x2BFF, Role::none},   {0x2C00, Role::start},  {0x2FBF, Role::start},
        {0x2FC0, Role::none},   {0x3000, Role::none},   {0x3001, Role::start},
        {0xD7FF, Role::start},  {0xD800, Role::none},   {0xDFFF, Role::none},
        {0xE000, Role::none},   {0xF8FF, Role::none},   {0xF900, Role::start},
        {0xFDBF, Role::start},  {0xFDC0, Role::none},   {0xFDEF, Role::none},
        {0xFDF0, Role::start},  {0xFFFD, Role::start},  {0xFFFE, Role::none},
        {0xFFFF, Role::none},   {0x10000, Role::start}, {0x3FFFF, Role::start},
        {0x40000, Role::start}, {0xBFFFF, Role::start}, {0xC0000, Role::start},
        {0xEFFFF, Role::start}, {0xF0000, Role::none},  {0x10FFFF, Role::none},
    };
    for (const auto &fact : facts)
        expectRole(fact.role, fact.point);
}

TEST(NameCharacters, EveryCharacterOfTheFirstPlaneHasTheRoleOfItsRange) {
    for (unsigned point = 0x80; point < 0x10000; ++point)
        expectRole(roleOf(point), point);
}

TEST(NameCharacters, EveryBlockOfTheOtherPlanesHasTheRoleOfItsRange) {
    for (unsigned point = 0x10000; point < 0x110000; point += 0x100) {
        expectRole(roleOf(point), point);
        expectRole(roleOf(point + 0xFF), point + 0xFF);
    }
}

TEST(NameCharacters, AnIncompleteSequenceIsSingleBytes) {
    EXPECT_EQ("NCNAME(a) -61", tokens("a\xC3"));
    EXPECT_EQ("NCNAME(a) -61 NCNAME(b)", tokens("a\xC3"
                                                "b"));
    EXPECT_EQ("NCNAME(a) -28 -72", tokens("a\xE4\xB8"));
    EXPECT_EQ("NCNAME(a) -16 -112 -128 NCNAME(b)", tokens("a\xF0\x90\x80"
                                                          "b"));
    EXPECT_EQ("-87", tokens("\xA9"));
}

TEST(NameCharacters, AnOverlongSequenceIsSingleBytes) {
    EXPECT_EQ("NCNAME(a) -64 -127", tokens("a\xC0\x81"));
    EXPECT_EQ("NCNAME(a) -32 -125 -128", tokens("a\xE0\x83\x80"));
    EXPECT_EQ("NCNAME(a) -16 -128 -125 -128", tokens("a\xF0\x80\x83\x80"));
}
