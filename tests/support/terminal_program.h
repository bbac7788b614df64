/** Runs a program on a pseudo-terminal. */
#ifndef TESTS_SUPPORT_TERMINAL_PROGRAM_H
#define TESTS_SUPPORT_TERMINAL_PROGRAM_H

#include <string>
#include <string_view>

#include "tests/support/child_process.h"

namespace support {

/**
 * A program on a terminal of its own, where the test is the user: it sees what is on the screen
 * and types. The program's side of the terminal is open in the test too, so that its settings can
 * be looked at. Nothing sleeps; every wait gives up after support::patience.
 */
class TerminalProgram {
public:
    explicit TerminalProgram(const Command &command, unsigned short columns = 80);
    ~TerminalProgram();
    TerminalProgram(const TerminalProgram &) = delete;
    TerminalProgram &operator=(const TerminalProgram &) = delete;

    /** Types a text; '\n' is the Enter key, '\003' is Ctrl-C, '\004' is Ctrl-D. */
    void type(std::string_view text);
    /** The window becomes wider or narrower. */
    void resize(unsigned short columns) const;
    void signal(int number) const;

    /**
     * Waits until the text appears behind what earlier calls found; false when it does not.
     * Lines end with "\r\n", as a terminal shows them.
     */
    bool expect(std::string_view text);

    /** Everything on the screen until now. */
    const std::string &screen() const { return screen_; }
    /** What is on the screen behind the last text that was expected. */
    std::string unseen() const { return screen_.substr(seen_); }

    /** Is typed text shown? After finish(): was it when the program ended? */
    bool echoes() const;
    /** Switches the display of typed text; the program finds the terminal like that. */
    void setEcho(bool on) const;
    /** Waits until typed text is shown, or is not; false when it stays otherwise. */
    bool waitForEcho(bool on) const;

    /** Waits for the end of the program and reads the rest of the screen. */
    Ending finish();

private:
    bool readSome(Clock::time_point deadline);

    pid_t child_ = -1;
    int master_ = -1;
    int slave_ = -1;
    bool echoedAtEnd_ = false;
    std::string screen_;
    size_t seen_ = 0;
};

}  // namespace support

#endif
