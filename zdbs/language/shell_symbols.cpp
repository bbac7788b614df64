#include "zdbs/language/shell_symbols.h"

#include <array>

#include "zdbs/language/cursor.h"

namespace zdbs {
namespace {

struct Symbol {
    std::string_view symbol;
    std::string_view word;
};

constexpr std::array symbols{
    Symbol{"OPN", "BASE"},   Symbol{"DEL", "DELETE"}, Symbol{"SXX", "S"},
    Symbol{"FIN", "FIND"},   Symbol{"ORX", "OR"},     Symbol{"ANT", "AND.T"},
    Symbol{"DEF", "DEFINE"}, Symbol{"HIL", "HITS"},   Symbol{"REN", "RENUMBER"},
    Symbol{"MIN", "MIN"},
};

}  // namespace

std::optional<std::string_view> wordForSymbol(std::string_view symbol) {
    for (const Symbol &known : symbols) {
        if (sameWord(known.symbol, symbol)) return known.word;
    }
    return std::nullopt;
}

}  // namespace zdbs
