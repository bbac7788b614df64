#include "zdbs/admin/password_prompt.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <optional>
#include <string_view>

#include "zdbs/base/private_files.h"
#include "zdbs/base/status.h"

namespace zdbs::admin {

namespace {

constexpr std::array<int, 7> heldSignals = {SIGINT,  SIGTERM, SIGHUP, SIGQUIT,
                                            SIGTSTP, SIGTTIN, SIGTTOU};

volatile std::sig_atomic_t heldSignal = 0;

extern "C" void holdSignal(int number) {
    heldSignal = number;
}

/**
 * Notes signals instead of obeying them, until its end; then raises the one that
 * came. They arrive in waitForInput() only, so that none is missed before it.
 */
class SignalHolder {
public:
    SignalHolder() {
        heldSignal = 0;
        sigset_t held;
        ::sigemptyset(&held);
        for (const int number : heldSignals)
            ::sigaddset(&held, number);
        ::sigprocmask(SIG_BLOCK, &held, &maskBefore_);
        struct sigaction hold {};
        hold.sa_handler = holdSignal;
        for (std::size_t i = 0; i < heldSignals.size(); ++i) {
            ::sigaction(heldSignals[i], &hold, &before_[i]);
            // What was to be ignored, under nohup say, still is.
            if (before_[i].sa_handler == SIG_IGN) ::sigaction(heldSignals[i], &before_[i], nullptr);
        }
    }
    ~SignalHolder() {
        for (std::size_t i = 0; i < heldSignals.size(); ++i)
            ::sigaction(heldSignals[i], &before_[i], nullptr);
        ::sigprocmask(SIG_SETMASK, &maskBefore_, nullptr);
        if (heldSignal != 0) ::kill(::getpid(), heldSignal);
    }
    SignalHolder(const SignalHolder &) = delete;
    SignalHolder &operator=(const SignalHolder &) = delete;

    /** False when a signal came first. */
    bool waitForInput(int file) const {
        pollfd input{file, POLLIN, 0};
        while (heldSignal == 0) {
            if (::ppoll(&input, 1, nullptr, &maskBefore_) >= 0) return true;
            if (errno != EINTR) return true;  // reading will tell what is wrong
        }
        return false;
    }

private:
    std::array<struct sigaction, heldSignals.size()> before_{};
    sigset_t maskBefore_{};
};

/** A terminal that does not show what is typed, until its end. */
class SilentTerminal {
public:
    explicit SilentTerminal(int terminal) : terminal_(terminal) {
        if (::tcgetattr(terminal_, &before_) != 0) return;
        termios silent = before_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        isSilent_ = ::tcsetattr(terminal_, TCSAFLUSH, &silent) == 0;
    }
    ~SilentTerminal() {
        if (isSilent_) ::tcsetattr(terminal_, TCSAFLUSH, &before_);
    }
    SilentTerminal(const SilentTerminal &) = delete;
    SilentTerminal &operator=(const SilentTerminal &) = delete;

private:
    int terminal_;
    termios before_{};
    bool isSilent_ = false;
};

void writeText(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t size = ::write(file, text.data(), text.size());
        if (size < 0 && errno != EINTR) return;
        text.remove_prefix(size < 0 ? 0 : static_cast<std::size_t>(size));
    }
}

// A line without its end; nothing at the end of the input, or when `mayRead` says so.
template <typename MayRead>
std::optional<std::string> readLine(int file, const MayRead &mayRead) {
    std::string line;
    while (mayRead()) {
        char byte = 0;
        const ssize_t size = ::read(file, &byte, 1);
        if (size < 0 && errno == EINTR) continue;
        if (size < 0 || (size == 0 && line.empty())) return std::nullopt;
        if (size == 0 || byte == '\n') return line;
        line += byte;
    }
    return std::nullopt;
}

enum class Disturbance { none, ended, stopped };

Disturbance disturbanceBy(int signal) {
    if (signal == 0) return Disturbance::none;
    const bool stops = signal == SIGTSTP || signal == SIGTTIN || signal == SIGTTOU;
    return stops ? Disturbance::stopped : Disturbance::ended;
}

std::optional<std::string> askOnce(int terminal, std::string_view prompt,
                                   Disturbance &disturbance) {
    const SignalHolder signals;
    const SilentTerminal silence(terminal);
    writeText(terminal, prompt);
    auto line = readLine(terminal, [&] { return signals.waitForInput(terminal); });
    writeText(terminal, "\n");
    disturbance = disturbanceBy(heldSignal);
    return line;
}

std::string ask(int terminal, const std::string &prompt) {
    for (;;) {
        Disturbance disturbance = Disturbance::none;
        const auto line = askOnce(terminal, prompt, disturbance);
        // Stopped and continued: the question has scrolled away.
        if (disturbance == Disturbance::stopped) continue;
        if (!line || disturbance == Disturbance::ended)
            throw Failure(Status::badPassword, {"none was given"});
        return *line;
    }
}

}  // namespace

std::string askForPassword(const std::string &user) {
    const FileDescriptor terminal(::open("/dev/tty", O_RDWR | O_CLOEXEC));
    if (!terminal)
        throw Failure(Status::badPassword,
                      {"there is no terminal to ask for it; ZDBS_PASSWORD_FILE names a file"});
    return ask(terminal.get(), "Password for " + user + ": ");
}

std::string askForNewPassword(const std::string &user) {
    const FileDescriptor terminal(::open("/dev/tty", O_RDWR | O_CLOEXEC));
    if (!terminal)
        throw Failure(Status::badPassword,
                      {"there is no terminal to ask for it; --password-stdin reads it"});
    std::string password = ask(terminal.get(), "Password for " + user + ": ");
    if (ask(terminal.get(), "The same again: ") != password)
        throw Failure(Status::badPassword, {"the two differ"});
    return password;
}

std::string readPasswordLine() {
    const auto line = readLine(STDIN_FILENO, [] { return true; });
    if (!line) throw Failure(Status::badPassword, {"standard input holds none"});
    return *line;
}

}  // namespace zdbs::admin
