/** JSON, written piece by piece. */
#ifndef ZDBS_ANSWERS_JSON_H
#define ZDBS_ANSWERS_JSON_H

#include <chrono>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zdbs {

/**
 * Builds one JSON value; commas and escapes come by themselves. Objects take a
 * key before each value. Texts are UTF-8; bytes that are none become U+FFFD.
 */
class JsonWriter {
public:
    JsonWriter &beginObject();
    JsonWriter &endObject();
    JsonWriter &beginArray();
    JsonWriter &endArray();
    JsonWriter &key(std::string_view name);
    JsonWriter &value(std::string_view text);
    JsonWriter &value(std::uint64_t number);

    /** A template, for else texts without a length would be taken for it. */
    template <std::same_as<bool> Flag>
    JsonWriter &value(Flag flag) {
        separate();
        text_ += flag ? "true" : "false";
        return *this;
    }

    /** In milliseconds, with three decimals. */
    JsonWriter &value(std::chrono::nanoseconds time);

    /** The text so far; a whole value when everything that was begun has ended. */
    const std::string &text() const { return text_; }

private:
    void separate();

    std::string text_;
    bool needsComma_ = false;
};

/**
 * A piece of a longer text as it stands between the quotes. The text has to be
 * well-formed UTF-8; the piece may begin and end anywhere in it.
 */
std::string jsonPiece(std::string_view piece);

}  // namespace zdbs

#endif
