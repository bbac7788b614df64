/** Questions at the start: the user's name and password. */
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "prg/xml/xpath/utils/vexa/byte_input.h"
#include "prg/xml/xpath/utils/vexa/console.h"
#include "prg/xml/xpath/utils/vexa/terminal.h"
#include "prg/xml/xpath/utils/vexa/vexa.h"

namespace {

constexpr int backspace = 8;
constexpr int escape = 27;

bool endsAnswer(int c) {
    return c == '\r' || c == '\n' || c == escape || c == EOF;
}

/** The first three count only as the last character that fits. Nobody is left to answer at EOF. */
bool cancels(int c) {
    return c == 3 || c == 26 || c == 4 || c == escape || c == EOF;
}

/** What is typed, at most 255 bytes. Forgotten on destruction: it may be a password. */
class Answer {
public:
    Answer() = default;
    ~Answer() { explicit_bzero(text_, sizeof text_); }
    Answer(const Answer &) = delete;
    Answer &operator=(const Answer &) = delete;

    /** @return the character that ended the answer */
    int read(bool hideInput) {
        std::memset(text_, 0, sizeof text_);
        length_ = 0;
        int c = 0;
        while (length_ < capacity_) {
            c = Vexa::getCharInput(hideInput);
            if (endsAnswer(c)) break;
            take(c);
        }
        return c;
    }
    void useIfEmpty(const char *other) {
        if (*text_ == '\0') std::strncpy(text_, other, capacity_);
    }
    bool empty() const { return *text_ == '\0'; }

    std::unique_ptr<char[]> copy() const {
        const size_t size = std::strlen(text_) + 1;
        auto result = std::make_unique<char[]>(size);
        std::memcpy(result.get(), text_, size);
        return result;
    }

private:
    static constexpr size_t capacity_ = 255;

    void take(int c) {
        if (c != backspace) {
            text_[length_++] = static_cast<char>(c);
        } else if (length_ > 0) {
            text_[--length_] = '\0';
        }
    }

    char text_[capacity_ + 1];
    size_t length_ = 0;
};

/** False when there is nobody to see it. */
bool ask(const char *text, const char *defaultText) {
    char question[256];
    if (*defaultText != '\0') {
        std::snprintf(question, sizeof question, "%s [%s]> ", text, defaultText);
    } else {
        std::snprintf(question, sizeof question, "%s> ", text);
    }
    std::fputs(question, stdout);
    return flushOutput();
}

int readCharacter() {
    const int c = readByte(stdin);
    if (c == EOF && std::ferror(stdin) != 0)
        printError("ERROR: Cannot read standard input: %s\n", std::strerror(errno));
    return c;
}

}  // namespace

int Vexa::getCharInput(bool hideInput) {
    if (!hideInput) return readCharacter();
    const HiddenTyping hidden;
    return readCharacter();
}

std::unique_ptr<char[]> Vexa::prompt(const char *text, const char *defaultText, bool hideInput,
                                     bool required) {
    if (defaultText == nullptr) defaultText = "";
    Answer answer;
    while (ask(text, defaultText)) {
        const int last = answer.read(hideInput);
        std::putchar('\n');
        if (cancels(last)) return nullptr;
        answer.useIfEmpty(defaultText);
        if (!answer.empty() || !required) return answer.copy();
        std::puts("The information is required.");
    }
    return nullptr;
}
