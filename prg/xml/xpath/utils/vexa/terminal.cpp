#include "prg/xml/xpath/utils/vexa/terminal.h"

#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace {

constexpr int endingSignals[] = {SIGINT, SIGQUIT, SIGHUP, SIGTERM, SIGPIPE};

// Shared with the signal handler: the settings are written before the flag is set.
termios shownSettings;
termios editedSettings;  // not for the handler
volatile sig_atomic_t hidden = 0;
volatile sig_atomic_t edited = 0;

/** Async-signal-safe. Where lines are edited, pastes come in brackets. */
void giveTerminalBack() {
    constexpr std::string_view plainPastes = "\033[?2004l";
    if (hidden == 0 && edited == 0) return;
    if (edited != 0 && write(STDOUT_FILENO, plainPastes.data(), plainPastes.size()) < 0) return;
    tcsetattr(STDIN_FILENO, TCSANOW, &shownSettings);
}

/** Async-signal-safe. SA_RESETHAND has put the default action back, so the signal ends us. */
extern "C" void giveTerminalBackAndEnd(int number) {
    giveTerminalBack();
    raise(number);
}

/** Lets the default action of a signal happen now. */
void stopBy(int number) {
    struct sigaction byDefault = {};
    struct sigaction own = {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(number, &byDefault, &own);
    sigset_t let;
    sigset_t before;
    sigemptyset(&let);
    sigaddset(&let, number);
    raise(number);
    pthread_sigmask(SIG_UNBLOCK, &let, &before);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    sigaction(number, &own, nullptr);
}

/** Async-signal-safe. Afterwards the terminal is what it was when the stop key was pressed. */
extern "C" void giveTerminalBackAndStop(int number) {
    constexpr std::string_view pastesInBrackets = "\033[?2004h";
    const int error = errno;
    termios present;
    const bool isChanged = (hidden != 0 || edited != 0) && tcgetattr(STDIN_FILENO, &present) == 0;
    if (isChanged) giveTerminalBack();
    stopBy(number);
    if (isChanged) tcsetattr(STDIN_FILENO, TCSANOW, &present);
    if (edited != 0 && write(STDOUT_FILENO, pastesInBrackets.data(), pastesInBrackets.size()) < 0)
        edited = 1;  // nobody reads: the next read of input will tell
    errno = error;
}

/** Unless the parent process had it ignored. */
void handle(int number, const struct sigaction &action) {
    struct sigaction present = {};
    sigaction(number, nullptr, &present);
    if (present.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
}

extern "C" void endWait(int) {}

/**
 * Keeps the ending signals away, and the stop key. Without it one that arrives while the "stty
 * -echo" command starts would end the program first and the terminal would stay silent.
 */
class SignalsHeldBack {
public:
    SignalsHeldBack() {
        sigset_t held;
        sigemptyset(&held);
        for (const int number : endingSignals)
            sigaddset(&held, number);
        sigaddset(&held, SIGTSTP);
        sigprocmask(SIG_BLOCK, &held, &before_);
        // A shell lets all signals in; a command that stops would keep this program waiting. What
        // is both held back and ignored waits all the same.
        struct sigaction ignored = {};
        ignored.sa_handler = SIG_IGN;
        sigaction(SIGTSTP, &ignored, &stop_);
    }
    ~SignalsHeldBack() {
        sigaction(SIGTSTP, &stop_, nullptr);
        sigprocmask(SIG_SETMASK, &before_, nullptr);
    }
    SignalsHeldBack(const SignalsHeldBack &) = delete;
    SignalsHeldBack &operator=(const SignalsHeldBack &) = delete;

private:
    sigset_t before_;
    struct sigaction stop_ = {};
};

bool shows(const termios &settings) {
    return (settings.c_lflag & ECHO) != 0;
}

bool terminalShows() {
    termios settings;
    return tcgetattr(STDIN_FILENO, &settings) == 0 && shows(settings);
}

/** Runs the terminal command; where there is none, the settings are changed directly. */
void switchEcho(const char *command, bool on) {
    const int ignored = std::system(command);
    static_cast<void>(ignored);
    if (terminalShows() == on) return;
    termios settings = shownSettings;
    if (!on) settings.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &settings);
}

}  // namespace

void installSignalHandlers() {
    struct sigaction action = {};
    action.sa_handler = giveTerminalBackAndEnd;
    action.sa_flags = SA_RESETHAND | SA_NODEFER;
    // A program in the background may change the terminal only while this one is blocked.
    sigaddset(&action.sa_mask, SIGTTOU);
    for (const int number : endingSignals)
        handle(number, action);
    struct sigaction stop = {};
    stop.sa_handler = giveTerminalBackAndStop;
    stop.sa_flags = SA_RESTART;
    handle(SIGTSTP, stop);
}

bool isEditedTerminal() {
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) return false;
    const char *term = std::getenv("TERM");
    return term != nullptr && *term != '\0' && std::string_view(term) != "dumb";
}

void endByInterrupt() {
    giveTerminalBack();
    struct sigaction byDefault = {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(SIGINT, &byDefault, nullptr);
    sigset_t let;
    sigemptyset(&let);
    sigaddset(&let, SIGINT);
    pthread_sigmask(SIG_UNBLOCK, &let, nullptr);
    kill(getpid(), SIGINT);
    _exit(128 + SIGINT);
}

EditedTerminal::EditedTerminal() {
    termios settings;
    if (tcgetattr(STDIN_FILENO, &settings) != 0) return;
    const SignalsHeldBack heldBack;
    shownSettings = settings;
    edited = 1;
    // The window's size is asked for again when a wait has ended.
    struct sigaction resize = {};
    resize.sa_handler = endWait;
    resize.sa_flags = SA_RESTART;
    sigaction(SIGWINCH, &resize, nullptr);
}

EditedTerminal::~EditedTerminal() {
    if (edited == 0) return;
    const SignalsHeldBack heldBack;
    tcsetattr(STDIN_FILENO, TCSADRAIN, &shownSettings);
    edited = 0;
}

UneditedTerminal::UneditedTerminal() {
    if (edited == 0) return;
    const SignalsHeldBack heldBack;
    tcgetattr(STDIN_FILENO, &editedSettings);
    tcsetattr(STDIN_FILENO, TCSADRAIN, &shownSettings);
}

UneditedTerminal::~UneditedTerminal() {
    if (edited == 0) return;
    const SignalsHeldBack heldBack;
    tcsetattr(STDIN_FILENO, TCSADRAIN, &editedSettings);
}

HiddenTyping::HiddenTyping() {
    termios settings;
    if (tcgetattr(STDIN_FILENO, &settings) != 0 || !shows(settings)) return;
    const SignalsHeldBack heldBack;
    shownSettings = settings;
    hidden = 1;
    switchEcho("stty -echo", false);
}

HiddenTyping::~HiddenTyping() {
    if (hidden == 0) return;
    const SignalsHeldBack heldBack;
    switchEcho("stty echo", true);
    hidden = 0;
}

void waitForInput(int milliseconds) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    // Only a terminal is worth watching: a file or a pipe at its end is always "ready".
    if (isatty(STDIN_FILENO) == 0) {
        poll(nullptr, 0, milliseconds);
        return;
    }
    poll(&input, 1, milliseconds);
    if ((input.revents & ~POLLIN) != 0) poll(nullptr, 0, milliseconds);
}
