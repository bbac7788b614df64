/** JSON, written piece by piece. */
#ifndef ZDBS_ADMIN_JSON_H
#define ZDBS_ADMIN_JSON_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zdbs::admin {

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

    /** The text so far; a whole value when everything that was begun has ended. */
    const std::string &text() const { return text_; }

private:
    void separate();

    std::string text_;
    bool needsComma_ = false;
};

}  // namespace zdbs::admin

#endif
