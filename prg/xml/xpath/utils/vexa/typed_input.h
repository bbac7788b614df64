#ifndef PRG_XML_XPATH_UTILS_VEXA_TYPED_INPUT_H
#define PRG_XML_XPATH_UTILS_VEXA_TYPED_INPUT_H

#include <cstddef>
#include <functional>
#include <string>

/**
 * What is typed on standard input, byte by byte as it comes and in the character set of the locale.
 *
 * Bytes that are no characters there have a place beyond the characters, so that no text is lost on
 * its way through an editor that knows characters only: toBytes() gives back what was typed.
 *
 * One thread.
 */
class TypedInput {
public:
    enum class State { open, interrupted, atEnd, failed };

    /** @param onWake called when a signal ended the wait for input: the window changed, perhaps */
    explicit TypedInput(std::function<void()> onWake) : onWake_(std::move(onWake)) {}

    /** Waits until there is something to take; false when the state is not `open` any more. */
    bool wait();

    /** Why wait() gave up; errno of a failure is errorNumber(). */
    State state() const { return state_; }
    int errorNumber() const { return error_; }

    /** Takes up reading again; what was typed before an interruption is dropped. */
    void reopen();

    /** The next character; false when wait() gave up. */
    bool next(wchar_t &character);

    /** How many bytes that are no controls stand one behind the other. REQUIRES wait(). */
    size_t runLength() const;
    std::wstring takeRun();

    /** Everything up to the end of a bracketed paste, with '\n' for line ends. */
    std::wstring takePaste();

    static std::wstring toCharacters(const std::string &bytes);
    static std::string toBytes(const std::wstring &characters);

private:
    bool fill();
    void take(size_t bytes);

    std::function<void()> onWake_;
    std::string bytes_;
    size_t at_ = 0;
    State state_ = State::open;
    int error_ = 0;
};

#endif
