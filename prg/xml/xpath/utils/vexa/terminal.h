#ifndef PRG_XML_XPATH_UTILS_VEXA_TERMINAL_H
#define PRG_XML_XPATH_UTILS_VEXA_TERMINAL_H

/**
 * The terminal on standard input: hiding what is typed, giving it back as it was found when a
 * signal ends the program, and waiting for more input.
 *
 * One thread; HiddenTyping and EditedTerminal objects do not overlap.
 */

/**
 * Makes the signals that end the program (interrupt, quit, hang-up, termination, broken pipe) show
 * typed text again if HiddenTyping hides it. They end the program as they would have otherwise, and
 * stay ignored where the parent process had them ignored.
 */
void installSignalHandlers();

/**
 * Whether somebody sits at a terminal that lines can be edited on: standard input and output are
 * one, and TERM says what it is.
 */
bool isEditedTerminal();

/** Ends the program as an interrupt does. */
[[noreturn]] void endByInterrupt();

/**
 * While it lives, the terminal may be changed: signals that end the program or stop it for a while
 * give it back as it was when this object was made. The stop key is answered so with HiddenTyping,
 * too.
 */
class EditedTerminal {
public:
    EditedTerminal();
    ~EditedTerminal();
    EditedTerminal(const EditedTerminal &) = delete;
    EditedTerminal &operator=(const EditedTerminal &) = delete;
};

/** While it lives, the terminal of EditedTerminal is as it was: another program uses it. */
class UneditedTerminal {
public:
    UneditedTerminal();
    ~UneditedTerminal();
    UneditedTerminal(const UneditedTerminal &) = delete;
    UneditedTerminal &operator=(const UneditedTerminal &) = delete;
};

/** While it lives, the terminal does not show what is typed. Nothing happens without a terminal. */
class HiddenTyping {
public:
    HiddenTyping();
    ~HiddenTyping();
    HiddenTyping(const HiddenTyping &) = delete;
    HiddenTyping &operator=(const HiddenTyping &) = delete;
};

/**
 * Waits before standard input is tried again: until the time is over, a signal arrives, or, on a
 * terminal, something is typed.
 */
void waitForInput(int milliseconds);

#endif
