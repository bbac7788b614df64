#include "zdbs/answers/json.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace zdbs::admin {
namespace {

TEST(Json, IsBuiltPieceByPiece) {
    JsonWriter json;
    json.beginObject();
    json.key("a").value(std::uint64_t{1}).key("b").value("two").key("c").beginArray();
    json.value("x").beginObject().endObject().beginArray().endArray().value(std::uint64_t{2});
    json.endArray().key("d").beginObject().key("e").value("").endObject().endObject();
    EXPECT_EQ(json.text(), R"({"a":1,"b":"two","c":["x",{},[],2],"d":{"e":""}})");
}

TEST(Json, OfNothingIsAnEmptyArray) {
    EXPECT_EQ(JsonWriter().beginArray().endArray().text(), "[]");
}

TEST(Json, WritesTimesInMilliseconds) {
    JsonWriter json;
    json.beginArray().value(std::chrono::nanoseconds(1499)).value(std::chrono::seconds(2));
    EXPECT_EQ(json.endArray().text(), "[0.001,2000.000]");
}

TEST(Json, OfATextInPiecesIsThatOfTheText) {
    const std::string text = "a\"\n\xc3\xa9";
    std::string pieces;
    for (const char byte : text)
        pieces += jsonPiece(std::string(1, byte));
    EXPECT_EQ('"' + pieces + '"', JsonWriter().value(text).text());
}

struct Case {
    std::string text;
    const char *json;
};

TEST(Json, EscapesWhatCannotStandInAString) {
    const Case cases[] = {
        {"plain / 'text'", R"("plain / 'text'")"},
        {"a\"b\\c", R"("a\"b\\c")"},
        {"\n\r\t", R"("\n\r\t")"},
        {std::string("\0\x01\x1f", 3), R"("\u0000\u0001\u001f")"},
        {"\x7f", "\"\x7f\""},
        {"\xc3\xa9\xf0\x9f\x98\x80", "\"\xc3\xa9\xf0\x9f\x98\x80\""},
        {"a\xe9z", "\"a\xef\xbf\xbdz\""},
        {"\xc3", "\"\xef\xbf\xbd\""},
        {"\xc3\xa9\xff\xc3\xa9", "\"\xc3\xa9\xef\xbf\xbd\xc3\xa9\""},
    };
    for (const Case &row : cases) {
        JsonWriter json;
        EXPECT_EQ(json.value(row.text).text(), row.json);
    }
}

}  // namespace
}  // namespace zdbs::admin
