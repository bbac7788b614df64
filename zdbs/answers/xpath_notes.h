/** Notes on an expression of XPath: names in it that no node of the collection has. */
#ifndef ZDBS_ANSWERS_XPATH_NOTES_H
#define ZDBS_ANSWERS_XPATH_NOTES_H

#include <vector>

#include "prg/xml/xpath/notes/notes.h"
#include "zdbs/xpath/collection.h"

namespace zdbs {

/**
 * For each name of elements or attributes that occurs nowhere a sentence, with its place: in which
 * namespace it does occur, or which name is nearest to it. A few at most.
 */
std::vector<notes::Note> notesOnNames(const xpath::Expression &expression,
                                      const xpath::Collection &collection);

}  // namespace zdbs

#endif
