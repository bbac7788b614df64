// The command words of the kernel.
//
// Commands are never spelled out: a word is asked from the kernel by a three-letter symbol, and the
// kernel writes it over the symbol, ended by a NUL or padded with blanks, and tells its length.
#ifndef PRG_XML_XPATH_PROCESSOR_SHELL_SYMBOL_H
#define PRG_XML_XPATH_PROCESSOR_SHELL_SYMBOL_H

#include <cassert>
#include <cstdint>
#include <cstring>

#include "kernel/zdbs.h"

// How much of the field is the word.
enum EWordCut {
    WORD_CUT_AT_LENGTH,  // ends at the length that the kernel told; the whole field if none shorter
    WORD_CUT_NOT,        // used as the kernel left it, padding included
};

// One command word, asked from the kernel when it is made.
//
// Errors: none. When the kernel does not know the symbol, the word is what it left in the field.
// A length outside the field never reaches beyond it.
class ShellSymbol {
public:
    // symbol: three letters, for instance "FIN".
    explicit ShellSymbol(const char *symbol, EWordCut cut = WORD_CUT_AT_LENGTH) noexcept {
        assert(std::strlen(symbol) == kSymbolLength);
        std::memset(m_szWord, ' ', kFieldLength);
        std::memcpy(m_szWord, symbol, kSymbolLength);
        m_szWord[kFieldLength] = '\0';
        std::int32_t length = kFieldLength;
        ZdbShellSymbol(m_szWord, &length);
        m_szWord[kFieldLength] = '\0';
        if (cut == WORD_CUT_AT_LENGTH && length < kFieldLength)
            m_szWord[length > 0 ? length : 0] = '\0';
    }

    // The word; valid as long as this object.
    const char *GetWord() const noexcept { return m_szWord; }

private:
    static constexpr std::int32_t kSymbolLength = 3;
    static constexpr std::int32_t kFieldLength = 16;

    char m_szWord[kFieldLength + 1];
};

#endif
