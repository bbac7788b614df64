#include "tests/support/terminal_program.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace support {

TerminalProgram::TerminalProgram(const Command &command, unsigned short columns) {
    const winsize size{24, columns, 0, 0};
    if (openpty(&master_, &slave_, nullptr, nullptr, &size) != 0) {
        throw std::runtime_error("no pseudo-terminal");
    }
    fcntl(master_, F_SETFD, FD_CLOEXEC);
    fcntl(slave_, F_SETFD, FD_CLOEXEC);
    child_ = fork();
    if (child_ < 0) throw std::runtime_error("no process");
    if (child_ != 0) return;
    login_tty(dup(slave_));
    execute(command);
}

TerminalProgram::~TerminalProgram() {
    if (child_ >= 0) {
        kill(child_, SIGKILL);
        awaitEnd(child_, Clock::now() + patience);
    }
    if (slave_ >= 0) close(slave_);
    close(master_);
}

void TerminalProgram::type(std::string_view text) {
    // A program that is not read may not read either; so both in turn, in pieces that fit.
    constexpr size_t piece = 1024;
    while (!text.empty()) {
        pollfd wanted{master_, POLLIN | POLLOUT, 0};
        if (poll(&wanted, 1, millisecondsUntil(Clock::now() + patience)) <= 0)
            throw std::runtime_error("cannot type");
        if ((wanted.revents & POLLIN) != 0) readSome(Clock::now());
        if ((wanted.revents & POLLOUT) == 0) continue;
        const ssize_t written = write(master_, text.data(), std::min(text.size(), piece));
        if (written < 0 && errno != EINTR) throw std::runtime_error("cannot type");
        if (written > 0) text.remove_prefix(static_cast<size_t>(written));
    }
}

void TerminalProgram::resize(unsigned short columns) const {
    const winsize size{24, columns, 0, 0};
    ioctl(master_, TIOCSWINSZ, &size);
}

void TerminalProgram::signal(int number) const {
    kill(child_, number);
}

bool TerminalProgram::readSome(Clock::time_point deadline) {
    pollfd wanted{master_, POLLIN, 0};
    if (poll(&wanted, 1, millisecondsUntil(deadline)) <= 0) return false;
    std::array<char, 4096> buffer;
    const ssize_t got = read(master_, buffer.data(), buffer.size());
    if (got > 0) screen_.append(buffer.data(), static_cast<size_t>(got));
    return got > 0;
}

bool TerminalProgram::expect(std::string_view text) {
    const Clock::time_point deadline = Clock::now() + patience;
    size_t found = screen_.find(text, seen_);
    while (found == std::string::npos && readSome(deadline))
        found = screen_.find(text, seen_);
    if (found == std::string::npos) return false;
    seen_ = found + text.size();
    return true;
}

bool TerminalProgram::echoes() const {
    if (slave_ < 0) return echoedAtEnd_;
    termios settings{};
    if (tcgetattr(slave_, &settings) != 0) throw std::runtime_error("no terminal settings");
    return (settings.c_lflag & ECHO) != 0;
}

void TerminalProgram::setEcho(bool on) const {
    termios settings{};
    if (tcgetattr(slave_, &settings) != 0) throw std::runtime_error("no terminal settings");
    settings.c_lflag = on ? settings.c_lflag | ECHO : settings.c_lflag & ~tcflag_t{ECHO};
    tcsetattr(slave_, TCSANOW, &settings);
}

bool TerminalProgram::waitForEcho(bool on) const {
    // A change of the settings wakes nobody, so this one looks again and again.
    const Clock::time_point deadline = Clock::now() + patience;
    while (echoes() != on) {
        if (Clock::now() > deadline) return false;
        poll(nullptr, 0, 1);
    }
    return true;
}

Ending TerminalProgram::finish() {
    const Ending ending = awaitEnd(std::exchange(child_, -1), Clock::now() + patience);
    echoedAtEnd_ = echoes();
    // Only with its last user gone does the terminal tell that nothing more will come.
    close(std::exchange(slave_, -1));
    while (readSome(Clock::now() + patience)) {
    }
    return ending;
}

}  // namespace support
