#ifndef PRG_XML_XPATH_NOTES_NOTES_H
#define PRG_XML_XPATH_NOTES_NOTES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/**
 * Notes on a request: what whoever typed it may want to know beside the answer. They change
 * nothing: the texts of answers and errors are what they are without them.
 *
 * All texts are UTF-8. Threads: any.
 */
namespace notes {

/** A sentence for people, without a line end; it may quote the request. */
struct Note {
    std::string text;
    std::optional<std::size_t> place;  ///< in the request that it is about, in bytes
};

/** A name that occurs in the database. */
struct KnownName {
    enum class Kind { element, attribute };

    Kind kind = Kind::element;
    std::string prefix;
    std::string local;
    bool hasElements = false;  ///< some element of that name has elements inside
};

/** Yields the names of the database, the most frequent ones first; asked when it is needed. */
using NameSource = std::function<std::vector<KnownName>()>;

/**
 * What can be said of a request.
 * @param error the message that it was answered with; empty when it was answered
 * @param names empty when they are not known
 */
std::vector<Note> notesOn(std::string_view request, std::string_view error,
                          const NameSource &names);

/**
 * A note as lines of a terminal that is so wide: where it has a place, the request around it, and
 * a caret under the place. Nothing in them steers the terminal.
 */
std::string linesOf(const Note &note, std::string_view request, std::size_t width);

/** A note on one line, which tells the place, too. */
std::string sentenceOf(const Note &note, std::string_view request);

}  // namespace notes

#endif
