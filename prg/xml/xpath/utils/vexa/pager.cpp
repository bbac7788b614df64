#include "prg/xml/xpath/utils/vexa/pager.h"

#include <fcntl.h>
#include <langinfo.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <utility>

#include "prg/xml/xpath/utils/vexa/console.h"
#include "prg/xml/xpath/utils/vexa/document_text.h"
#include "prg/xml/xpath/utils/vexa/interrupts.h"
#include "prg/xml/xpath/utils/vexa/terminal.h"

namespace {

constexpr size_t pieceSize = 4096;

/** Empty when documents are not paged. */
std::string pagerCommand() {
    const char *pager = std::getenv("PAGER");
    const std::string command = pager != nullptr ? pager : "less -FRX";
    return command == "cat" ? "" : command;
}

bool fitsScreen(std::string_view text) {
    winsize size{};
    const bool isKnown =
        ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0;
    return isKnown ? !isLongerThan(text, size.ws_row - 1U, size.ws_col)
                   : !isLongerThan(text, 23, 80);
}

/** In pieces, so that the interrupt key is heard between two of them. */
void writeTerminal(std::string_view text) {
    while (!text.empty() && !takeInterrupt()) {
        const std::string_view piece = text.substr(0, pieceSize);
        std::fwrite(piece.data(), 1, piece.size(), stdout);
        if (!flushOutput()) return;
        text.remove_prefix(piece.size());
    }
    if (!text.empty()) std::putchar('\n');
}

sigset_t setOf(std::initializer_list<int> numbers) {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : numbers)
        sigaddset(&set, number);
    return set;
}

/** While it lives, who writes where nobody reads is told so and not ended. */
class NoBrokenPipes {
public:
    NoBrokenPipes() : held_(setOf({SIGPIPE})) { pthread_sigmask(SIG_BLOCK, &held_, &before_); }
    ~NoBrokenPipes() {
        const timespec none = {};
        sigtimedwait(&held_, nullptr, &none);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    NoBrokenPipes(const NoBrokenPipes &) = delete;
    NoBrokenPipes &operator=(const NoBrokenPipes &) = delete;

private:
    sigset_t held_;
    sigset_t before_;
};

/** A command that reads what is written to it. */
class Pager {
public:
    explicit Pager(const std::string &command) {
        std::array<int, 2> ends;
        if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
        input_ = ends[1];
        if (!start(command, ends[0])) child_ = -1;
        close(ends[0]);
    }
    ~Pager() {
        if (input_ >= 0) close(input_);
    }
    Pager(const Pager &) = delete;
    Pager &operator=(const Pager &) = delete;

    void write(std::string_view text) const {
        while (child_ > 0 && !text.empty()) {
            const ssize_t written = ::write(input_, text.data(), std::min(text.size(), pieceSize));
            if (written < 0 && errno != EINTR) return;
            if (written > 0) text.remove_prefix(static_cast<size_t>(written));
        }
    }

    /** Waits for its end; false when there was no such command. */
    bool finish() {
        constexpr int notFound = 126;
        if (child_ <= 0) return false;
        close(std::exchange(input_, -1));
        int status = 0;
        while (waitpid(child_, &status, 0) < 0 && errno == EINTR) {
        }
        return !WIFEXITED(status) || WEXITSTATUS(status) < notFound;
    }

private:
    /** It hears all signals, whatever is held back here. */
    bool start(const std::string &command, int input) {
        posix_spawn_file_actions_t files;
        posix_spawnattr_t how;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
        posix_spawnattr_init(&how);
        const sigset_t heard = setOf({});
        const sigset_t byDefault = setOf({SIGINT, SIGQUIT, SIGPIPE, SIGTSTP});
        posix_spawnattr_setsigmask(&how, &heard);
        posix_spawnattr_setsigdefault(&how, &byDefault);
        posix_spawnattr_setflags(&how, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        std::string text = command;
        std::array<char, 3> shell = {"sh"};
        std::array<char, 3> option = {"-c"};
        std::array<char *, 4> arguments = {shell.data(), option.data(), text.data(), nullptr};
        const int error = posix_spawn(&child_, "/bin/sh", &files, &how, arguments.data(), environ);
        posix_spawnattr_destroy(&how);
        posix_spawn_file_actions_destroy(&files);
        return error == 0;
    }

    pid_t child_ = -1;
    int input_ = -1;
};

bool page(const std::string &command, std::string_view text) {
    const NoBrokenPipes nobodyReads;
    const UneditedTerminal terminal;
    Pager pager(command);
    pager.write(text);
    const bool isShown = pager.finish();
    takeInterrupt();  // it was the pager's
    return isShown;
}

}  // namespace

void showDocument(std::string_view document, bool isPaged) {
    const bool isUtf8 = std::string_view(nl_langinfo(CODESET)) == "UTF-8";
    const bool hasColours = std::getenv("NO_COLOR") == nullptr;
    const std::string text = visibleDocument(document, {isUtf8, hasColours}) + '\n';
    const std::string command = isPaged ? pagerCommand() : "";
    if (!flushOutput()) return;
    if (command.empty() || fitsScreen(text) || !page(command, text)) writeTerminal(text);
}
