#include "tests/support/child_process.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ostream>

namespace support {
namespace {

std::map<std::string, std::string> completeEnvironment(const Command &command) {
    std::map<std::string, std::string> all = {{"HOME", "/nonexistent"}, {"LC_ALL", "C"}};
    for (const char *kept : {"PATH", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS",
                             "TSAN_OPTIONS", "TMPDIR", "VEXA_MUTANT"}) {
        if (const char *value = std::getenv(kept)) all[kept] = value;
    }
    for (const auto &[name, value] : command.environment)
        all[name] = value;
    return all;
}

std::vector<char *> pointers(std::vector<std::string> &texts) {
    std::vector<char *> result;
    for (std::string &text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

void setSignals(const std::set<int> &ignored) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGTTOU, SIGTTIN}) {
        signal(number, ignored.contains(number) ? SIG_IGN : SIG_DFL);
    }
}

Ending endingOf(int waitStatus) {
    if (WIFSIGNALED(waitStatus)) return killedBy(WTERMSIG(waitStatus));
    return exited(WEXITSTATUS(waitStatus));
}

bool endsBefore(pid_t child, Clock::time_point deadline) {
    const int handle = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    pollfd wanted{handle, POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&wanted, 1, millisecondsUntil(deadline));
    } while (ready < 0 && errno == EINTR);
    close(handle);
    return ready > 0;
}

}  // namespace

Command throughShell(const Command &command, const std::string &redirections,
                     const std::string &before) {
    Command shell = command;
    shell.program = "sh";
    shell.arguments = {"-c", before + " && exec \"$0\" \"$@\" " + redirections, command.program};
    shell.arguments.insert(shell.arguments.end(), command.arguments.begin(),
                           command.arguments.end());
    return shell;
}

Ending exited(int status) {
    return {status, std::nullopt, false};
}

Ending killedBy(int signal) {
    return {std::nullopt, signal, false};
}

std::string toString(const Ending &ending) {
    if (ending.timedOut) return "still running after " + std::to_string(patience.count()) + " s";
    if (ending.signal) return "signal " + std::to_string(*ending.signal);
    return "exit status " + std::to_string(ending.status.value_or(-1));
}

void PrintTo(const Ending &ending, std::ostream *out) {
    *out << toString(ending);
}

int millisecondsUntil(Clock::time_point deadline) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 1'000'000));
}

void execute(const Command &command) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // nothing is left behind when the test itself is killed
    setSignals(command.ignoredSignals);
    std::vector<std::string> arguments = {command.program};
    arguments.insert(arguments.end(), command.arguments.begin(), command.arguments.end());
    std::vector<std::string> environment;
    for (const auto &[name, value] : completeEnvironment(command)) {
        environment.push_back(name + "=" + value);
    }
    execvpe(command.program.c_str(), pointers(arguments).data(), pointers(environment).data());
    std::perror(command.program.c_str());
    _exit(127);
}

Ending awaitEnd(pid_t child, Clock::time_point deadline) {
    const bool ended = endsBefore(child, deadline);
    if (!ended) kill(child, SIGKILL);
    int waitStatus = 0;
    while (waitpid(child, &waitStatus, 0) < 0 && errno == EINTR) {
    }
    Ending ending = endingOf(waitStatus);
    ending.timedOut = !ended;
    return ending;
}

}  // namespace support
