/** A document in UTF-8, whatever encoding it is in. */
#ifndef ZDBS_LOAD_UTF8_INPUT_H
#define ZDBS_LOAD_UTF8_INPUT_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zdbs/load/encoding.h"
#include "zdbs/load/input.h"
#include "zdbs/load/text_place.h"

namespace zdbs {

/**
 * Reads a document and hands it on in UTF-8 without a mark, piece by piece, in
 * memory that does not grow with it. Documents in UTF-8 pass as they are, unchecked:
 * the parser checks them. In all others bytes that are no characters are an error
 * with line and column; nothing is replaced. Its declaration still names the
 * encoding that the document had.
 */
class Utf8Input {
public:
    /**
     * Begins to read `input`, which must outlive this; `file` stands in front of
     * messages. Throws Failure: unknownEncoding, malformed, and the input's.
     */
    Utf8Input(Input &input, std::string_view file);

    /**
     * Fills `buffer`, of four bytes at least, from the front; 0 is the end. What
     * stands before bytes that are no characters is handed out before they are
     * told. Throws Failure: malformed, and the input's.
     */
    std::size_t read(std::span<char> buffer);

    /** Bytes of the document that were read, in its own encoding. */
    std::uint64_t size() const { return size_; }

private:
    void readBeginning();
    std::size_t readInput(std::span<char> buffer);
    std::size_t takeBytes(std::span<char> buffer);
    void toUnits();
    std::size_t toUtf8(std::span<char> buffer);
    [[noreturn]] void throwMalformed() const;

    Input &input_;
    std::string file_;
    Encoding encoding_;
    std::uint64_t size_ = 0;
    bool inputEnded_ = false;

    std::vector<char> bytes_;  ///< read and not yet converted: from bytesBegin_ to bytesEnd_
    std::size_t bytesBegin_ = 0;
    std::size_t bytesEnd_ = 0;
    std::vector<char16_t> units_;  ///< of UTF-16, converted and not yet handed out
    std::size_t unitsBegin_ = 0;
    std::size_t unitsEnd_ = 0;
    bool isDecoded_ = false;  ///< no more units will come
    bool isDamaged_ = false;  ///< because the bytes are no characters
    std::string badBytes_;    ///< those, as far as they are known
    TextPlace place_;
};

}  // namespace zdbs

#endif
