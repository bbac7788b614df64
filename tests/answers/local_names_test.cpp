#include "tests/answers/local_names.h"

#include <gtest/gtest.h>

namespace answers {
namespace {

struct RewriteFact {
    const char *request;
    const char *expression;
};

constexpr RewriteFact facts[] = {
    {"/a", "/*[local-name()='a']"},
    {"//a/b-c", "//*[local-name()='a']/*[local-name()='b-c']"},
    {"a", "//*[local-name()='a']"},
    {"a|/b | c", "//*[local-name()='a']|/*[local-name()='b'] | //*[local-name()='c']"},
    {"//@id", "//@*[local-name()='id']"},
    {"@id", "//@*[local-name()='id']"},
    {"//a/child::b", "//*[local-name()='a']/child::*[local-name()='b']"},
    {"//a/text()", "//*[local-name()='a']/text()"},
    {"//*/..", "//*/.."},
    {"//a[1]", "//*[local-name()='a'][1]"},
    {"//a[b='and b']", "//*[local-name()='a'][*[local-name()='b']='and b']"},
    {"//a[b and c]", "//*[local-name()='a'][*[local-name()='b'] and *[local-name()='c']]"},
    {"//and[or or and]", "//*[local-name()='and'][*[local-name()='or'] or *[local-name()='and']]"},
    {"//a[position()=last()-1]", "//*[local-name()='a'][position()=last()-1]"},
    {"//a[. or ../b]", "//*[local-name()='a'][. or ../*[local-name()='b']]"},
    {"//a[contains(@b,\"c\")]", "//*[local-name()='a'][contains(@*[local-name()='b'],\"c\")]"},
    {"//p:*", "//*[(starts-with(name(),'p:') or namespace-uri()='p')]"},
    {"//a[b|c]", "//*[local-name()='a'][*[local-name()='b']|*[local-name()='c']]"},
    {"//p:a", "//*[local-name()='a' and (starts-with(name(),'p:') or namespace-uri()='p')]"},
};

TEST(LocalNames, OnlyNameTestsAreRewritten) {
    for (const RewriteFact &fact : facts)
        EXPECT_EQ(expressionOf(fact.request), fact.expression);
}

}  // namespace
}  // namespace answers
