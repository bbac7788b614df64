/** The three-letter symbols that programs ask command words by. */
#ifndef ZDBS_LANGUAGE_SHELL_SYMBOLS_H
#define ZDBS_LANGUAGE_SHELL_SYMBOLS_H

#include <optional>
#include <string_view>

namespace zdbs {

/** The command word of a symbol (in any case): OPN is BASE, DEL is DELETE, and so on. */
std::optional<std::string_view> wordForSymbol(std::string_view symbol);

}  // namespace zdbs

#endif
