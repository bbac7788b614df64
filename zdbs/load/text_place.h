/** Line and column, as messages about a document name them. */
#ifndef ZDBS_LOAD_TEXT_PLACE_H
#define ZDBS_LOAD_TEXT_PLACE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace zdbs {

/**
 * A place in a text of UTF-8 that is passed piece by piece. Lines end as XML says:
 * at LF, CR or both together. Columns count characters. Both begin with 1.
 */
class TextPlace {
public:
    /** Goes on behind `text`. */
    void pass(std::string_view text);

    /** "line:column" */
    std::string text() const { return std::to_string(line_) + ':' + std::to_string(column_); }

private:
    void passLines(std::string_view text);

    std::uint64_t line_ = 1;
    std::uint64_t column_ = 1;
    bool afterReturn_ = false;  ///< a LF would belong to the line end that was counted
};

}  // namespace zdbs

#endif
