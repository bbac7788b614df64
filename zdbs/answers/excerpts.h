/** Beginnings of values with what was searched in them: what a screen shows of nodes of any size.
 */
#ifndef ZDBS_ANSWERS_EXCERPTS_H
#define ZDBS_ANSWERS_EXCERPTS_H

#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "zdbs/answers/json.h"
#include "zdbs/engine/engine.h"

namespace zdbs {

/** The beginning of a node's value. */
struct Excerpt {
    /** Outside of hits, inside, outside and so on; the first one may be empty. */
    std::vector<std::string> pieces{""};
    bool isCut = false;  ///< the value is longer
};

/** By record. */
using Excerpts = std::map<RecordId, Excerpt>;

/**
 * Of the records of a set, with hits where the value conditions of `marked` hit. What is far behind
 * an excerpt is not read, however much that is. Throws Failure(stopped).
 * @param most bytes of UTF-8; no character is cut
 */
Excerpts excerptsOf(const OpenDatabase &database, ResultSetPtr nodes,
                    std::span<const ResultSetPtr> marked, std::size_t most);

/** As the member "excerpt" of an object. */
void addExcerpt(JsonWriter &json, const Excerpt &excerpt);

}  // namespace zdbs

#endif
