#ifndef PRG_XML_XPATH_UTILS_VEXA_KERNEL_TEXT_H
#define PRG_XML_XPATH_UTILS_VEXA_KERNEL_TEXT_H

#include <cstdint>

/** What the shell asks for with every export. */
constexpr std::int32_t exportOptions = 4;

/** Only bit 0 of a status of the kernel counts. */
inline bool succeeded(int32_t status) {
    return (status & 1) != 0;
}

/**
 * Fetches the kernel's sentence for a status, cut to what fits.
 * @param buffer room for `capacity` bytes and a NUL
 */
void fetchMessage(int32_t status, char *buffer, int32_t capacity);

/** A command word of the kernel, asked for by its three-letter symbol. */
class CommandWord {
public:
    /** Whether the word is cut at the length that the kernel tells, or used as it leaves it. */
    enum class Form { cut, asItIs };

    CommandWord(const char *symbol, Form form);

    const char *text() const { return text_; }

private:
    static constexpr int32_t capacity_ = 16;

    char text_[capacity_ + 1];
};

#endif
