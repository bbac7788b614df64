#include "prg/xml/xpath/utils/vexa/terminal.h"

#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>

namespace {

constexpr int endingSignals[] = {SIGINT, SIGQUIT, SIGHUP, SIGTERM, SIGPIPE};

// Shared with the signal handler: the settings are written before the flag is set.
termios shownSettings;
volatile sig_atomic_t hidden = 0;

/** Async-signal-safe. SA_RESETHAND has put the default action back, so the signal ends us. */
extern "C" void giveTerminalBackAndEnd(int number) {
    if (hidden != 0) tcsetattr(STDIN_FILENO, TCSANOW, &shownSettings);
    raise(number);
}

/**
 * Keeps the ending signals away. Without it one that arrives while the "stty -echo" command
 * starts would end the program first and the terminal would stay silent.
 */
class SignalsHeldBack {
public:
    SignalsHeldBack() {
        sigset_t held;
        sigemptyset(&held);
        for (const int number : endingSignals)
            sigaddset(&held, number);
        sigprocmask(SIG_BLOCK, &held, &before_);
    }
    ~SignalsHeldBack() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeldBack(const SignalsHeldBack &) = delete;
    SignalsHeldBack &operator=(const SignalsHeldBack &) = delete;

private:
    sigset_t before_;
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
    for (const int number : endingSignals) {
        struct sigaction present = {};
        sigaction(number, nullptr, &present);
        if (present.sa_handler != SIG_IGN) sigaction(number, &action, nullptr);
    }
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
