/** What libxml2 says about XML text: is it well-formed, what is its canonical form. */
#ifndef TESTS_ZDBS_SUPPORT_XML_TEXT_H
#define TESTS_ZDBS_SUPPORT_XML_TEXT_H

#include <string>
#include <string_view>

namespace zdbs::testing {

/**
 * Has libxml2 find nothing outside a document in this process: no external DTD, no
 * entity of another file, as the loader finds none. The functions below call it.
 */
void refuseExternalEntities();

/** The parser's first message, or "" when the text is namespace-well-formed. */
std::string wellFormednessError(std::string_view xml);

/** Canonical XML 1.0 with comments. Throws std::runtime_error when not well-formed. */
std::string canonical(std::string_view xml);

}  // namespace zdbs::testing

#endif
