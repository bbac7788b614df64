/** Text from outside XML, made fit to stand in it. */
#ifndef ZDBS_EXPORT_READABLE_TEXT_H
#define ZDBS_EXPORT_READABLE_TEXT_H

#include <string>
#include <string_view>

namespace zdbs {

/**
 * A name of a file as UTF-8 that XML may hold: every byte that belongs to no
 * character, and every character that XML 1.0 forbids, becomes U+FFFD.
 */
std::string readableText(std::string_view text);

}  // namespace zdbs

#endif
