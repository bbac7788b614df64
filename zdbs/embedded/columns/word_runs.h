/** Cuts texts into words. */
#ifndef ZDBS_EMBEDDED_COLUMNS_WORD_RUNS_H
#define ZDBS_EMBEDDED_COLUMNS_WORD_RUNS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zdbs::embedded {

/** What kind of word a byte is in. */
enum class WordClass : std::uint8_t {
    letters,  ///< letters and digits of ASCII, all bytes of other characters
    blanks,   ///< white space of XML
    signs,    ///< everything else
};

constexpr auto wordClasses = [] {
    std::array<WordClass, 256> classes{};
    for (std::size_t byte = 0; byte < classes.size(); ++byte) {
        const bool isLetter = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                              (byte >= 'a' && byte <= 'z') || byte >= 0x80;
        const bool isBlank = byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
        classes[byte] = isLetter  ? WordClass::letters
                        : isBlank ? WordClass::blanks
                                  : WordClass::signs;
    }
    return classes;
}();

constexpr WordClass wordClassOf(char byte) {
    return wordClasses[static_cast<unsigned char>(byte)];
}

/** The one run that is no word: it stands between most of them. */
constexpr std::string_view noWord = " ";

/**
 * Calls `take` with each word of a text: each longest run of bytes of one class, blanks and
 * signs as well, but for a single space. So a text stands in another one only where each of its
 * words does: the first one as the end of a word, the last one as the beginning of one, those
 * between as they are, and an only one anywhere in a word.
 */
template <typename Take>
void forWords(std::string_view text, Take take) {
    for (std::size_t begin = 0; begin < text.size();) {
        const WordClass wordClass = wordClassOf(text[begin]);
        std::size_t end = begin + 1;
        while (end < text.size() && wordClassOf(text[end]) == wordClass)
            ++end;
        const std::string_view word = text.substr(begin, end - begin);
        if (word != noWord) take(word);
        begin = end;
    }
}

}  // namespace zdbs::embedded

#endif
