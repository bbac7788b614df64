// Keywords: names of commands and options, of axes and functions, and the words between operands.
//
// Case folding is that of ASCII whatever the locale is, unlike that of string_util.h: under a
// Turkish locale, toupper('i') is no 'I', and "xfind", "DIV" and "position" have to stay what they
// are there too, also in a program that has set its locale before it uses the kernel.
#ifndef FOUNDATION_KEYWORD_H
#define FOUNDATION_KEYWORD_H

#include <string_view>

bool equalsNoCase(std::string_view a, std::string_view b);

// Whether `text` begins with `prefix`, compared in the same way.
bool startsWithNoCase(std::string_view text, std::string_view prefix);

#endif
