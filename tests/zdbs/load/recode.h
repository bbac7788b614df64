/** Texts in other encodings, by the C library: an implementation that shares nothing with ours. */
#ifndef TESTS_ZDBS_LOAD_RECODE_H
#define TESTS_ZDBS_LOAD_RECODE_H

#include <string>

namespace zdbs {

/** UTF-8 into the encoding of that name. Throws std::runtime_error when it cannot be. */
std::string recode(const std::string &text, const std::string &encoding);

}  // namespace zdbs

#endif
