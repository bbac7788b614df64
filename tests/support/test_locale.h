/** A locale with another character set, made for one test. */
#ifndef TESTS_SUPPORT_TEST_LOCALE_H
#define TESTS_SUPPORT_TEST_LOCALE_H

#include <map>
#include <string>

#include "tests/support/temporary_directory.h"

namespace support {

/**
 * Compiles a locale into the directory.
 * @param source name of the locale's definition, "en_US"
 * @param characterSet "ISO-8859-1"
 * @return the environment (LOCPATH, LC_ALL) under which a program uses it
 * @throws std::runtime_error when localedef or its definitions are not there
 */
std::map<std::string, std::string> makeLocale(const TemporaryDirectory &directory,
                                              const std::string &source,
                                              const std::string &characterSet);

}  // namespace support

#endif
