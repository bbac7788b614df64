/** Entities that are defined for documents whose own subset lacks them. */
#ifndef ZDBS_LOAD_ENTITY_DEFINITIONS_H
#define ZDBS_LOAD_ENTITY_DEFINITIONS_H

#include <string>

namespace zdbs {

/** Declarations of the entities of XHTML 1.0. */
std::string xhtmlEntities();

/**
 * The declarations in a file, an external subset as XML has it; it can name no other file.
 * Throws Failure: fileUnreadable, malformed.
 */
std::string readEntities(const std::string &file);

}  // namespace zdbs

#endif
