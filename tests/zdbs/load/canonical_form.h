/** Canonical XML by libxml2, an implementation that shares nothing with ours. */
#ifndef TESTS_ZDBS_LOAD_CANONICAL_FORM_H
#define TESTS_ZDBS_LOAD_CANONICAL_FORM_H

#include <string>
#include <string_view>

namespace zdbs {

/**
 * C14N 1.0 with comments, as `xmllint --c14n` writes it.
 * Throws std::runtime_error when libxml2 cannot parse the text.
 */
std::string canonicalForm(std::string_view xml);

}  // namespace zdbs

#endif
