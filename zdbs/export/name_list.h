/** What somebody who types a request can be offered: names, databases. */
#ifndef ZDBS_EXPORT_NAME_LIST_H
#define ZDBS_EXPORT_NAME_LIST_H

#include <string>
#include <string_view>

#include "zdbs/session/session.h"

namespace zdbs {

/**
 * The names of elements and attributes at a place: "//" anywhere, "/" at the top of documents,
 * "//person/" inside of persons, "//person//" anywhere inside. The most frequent ones first, a
 * line each, with tabs: E or A, how many, 1 when there are elements inside and 0 otherwise, the
 * prefix, the local name. Throws Failure(requestFailed) for what is no place.
 */
std::string nameList(const Session &session, std::string_view place);

/** The databases that the user may read, a line each. */
std::string databaseList(const Session &session);

}  // namespace zdbs

#endif
