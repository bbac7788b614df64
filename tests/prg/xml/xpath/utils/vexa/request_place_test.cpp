/** Where a request has come to: what is offered there. */
#include "prg/xml/xpath/utils/vexa/request_place.h"

#include <gtest/gtest.h>

namespace {

using Kind = RequestPlace::Kind;

struct PlaceCase {
    const char *request;
    Kind kind;
    const char *names;
    const char *word;
};

const PlaceCase cases[] = {
    {"", Kind::step, "//", ""},
    {"per", Kind::step, "//", "per"},
    {"/", Kind::step, "/", ""},
    {"//", Kind::step, "//", ""},
    {"//person/pro", Kind::step, "//person/", "pro"},
    {"person/pro", Kind::step, "//person/", "pro"},
    {"/site/*//pro", Kind::step, "/site/*//", "pro"},
    {"//person/dc:ti", Kind::step, "//person/", "dc:ti"},
    {"//person/dc:", Kind::step, "//person/", "dc:"},
    {"//person/@a", Kind::attribute, "//person/", "a"},
    {"//person/attribute::", Kind::attribute, "//person/", ""},
    {"//person/child::n", Kind::element, "//person/", "n"},
    {"//person/ancestor::s", Kind::element, "//", "s"},
    {"//person/ancestor::site/", Kind::step, "//site/", ""},
    {"//a/b/../c", Kind::step, "//a/", "c"},
    {"//person[", Kind::step, "//person/", ""},
    {"//person[na", Kind::step, "//person/", "na"},
    {"//person[name/fi", Kind::step, "//person/name/", "fi"},
    {"//person[//fi", Kind::step, "//person//", "fi"},
    {"//person[@a='x' an", Kind::word, "//person/", "an"},
    {"//person[@a='x' and na", Kind::step, "//person/", "na"},
    {"//person[name='x']/", Kind::step, "//person/", ""},
    {"//a[b[c]/d", Kind::step, "//a/b/", "d"},
    {"//person[contains(na", Kind::step, "//person/", "na"},
    {"//person[contains(name/text(),'x') an", Kind::word, "//person/", "an"},
    {"//a | //b/c", Kind::step, "//b/", "c"},
    {"//person ", Kind::nothing, "//person/", ""},
    {"//person /na", Kind::step, "//person/", "na"},
    {"//person[name='no", Kind::nothing, "", ""},
    {"//person[.='x' an", Kind::word, "//person/", "an"},
};

TEST(RequestPlace, IsKnownAtTheEndOfEveryBeginning) {
    for (const PlaceCase &row : cases) {
        const RequestPlace place = placeAtEndOf(row.request);
        EXPECT_EQ(place.kind, row.kind) << row.request;
        EXPECT_EQ(place.word, row.word) << row.request;
        if (place.kind == Kind::nothing || place.kind == Kind::word) continue;
        EXPECT_EQ(place.names, row.names) << row.request;
    }
}

}  // namespace
