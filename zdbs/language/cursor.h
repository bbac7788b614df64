/** A place in a command, and the small things that are read there. */
#ifndef ZDBS_LANGUAGE_CURSOR_H
#define ZDBS_LANGUAGE_CURSOR_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zdbs {

/** Whether two words are the same, whatever the case of their ASCII letters. */
bool sameWord(std::string_view a, std::string_view b);

/** A text as messages show it: cut when it is long. */
std::string shown(std::string_view text);

/**
 * Walks over a command, from left to right. Blanks are blank, tab, line feed and
 * carriage return. The text must outlive the cursor.
 */
class Cursor {
public:
    explicit Cursor(std::string_view text) : text_(text) {}

    std::size_t place() const { return place_; }
    void moveTo(std::size_t place) { place_ = place; }
    std::string_view text() const { return text_; }
    std::string_view rest() const { return text_.substr(place_); }

    /** Column of a place: characters from 1. Counts on from the place asked about last. */
    std::size_t columnOf(std::size_t place);

    /** Column of the next character that is no blank. */
    std::size_t column();

    /** Place of the next character that is no blank: a column is counted where one is told. */
    std::size_t placeOfNext();

    void skipBlanks();
    bool atEnd();

    /** The next character, blanks skipped; NUL at the end. */
    char peek();

    /** Skips blanks and, if `c` comes next, takes it. */
    bool take(char c);

    /** Skips blanks and takes `c`, or throws Failure(syntaxError) that names it. */
    void expect(char c);

    /** The word that comes next, without taking it: letters, digits, '_', '-', '.', all beyond
     * ASCII. */
    std::string_view peekWord();

    /** Takes the word that comes next; empty when there is none. */
    std::string_view takeWord();

    /** Takes a word that peekWord() has answered. */
    void take(std::string_view word) { place_ += word.size(); }

    /** Takes everything up to the next blank or one of `ends`. */
    std::string_view takeUntil(std::string_view ends);

    /** Takes a whole number; throws Failure(badNumber). */
    std::int32_t takeInteger();

    /** Throws Failure(syntaxError) at the place, `expected` being what should stand there. */
    [[noreturn]] void fail(std::string_view expected);

private:
    std::string_view text_;
    std::size_t place_ = 0;
    std::size_t countedPlace_ = 0;
    std::size_t countedColumn_ = 1;
};

}  // namespace zdbs

#endif
