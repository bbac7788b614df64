#include "prg/xml/xpath/utils/vexa/interrupts.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <system_error>

#include "prg/xml/xpath/utils/vexa/terminal.h"

namespace {

int descriptor = -1;

sigset_t interrupt() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    return set;
}

void writeTerminal(const std::string &text) {
    const ssize_t ignored = write(STDOUT_FILENO, text.data(), text.size());
    static_cast<void>(ignored);
}

}  // namespace

void holdInterrupts() {
    struct sigaction present = {};
    sigaction(SIGINT, nullptr, &present);
    if (present.sa_handler == SIG_IGN || descriptor >= 0) return;
    const sigset_t set = interrupt();
    descriptor = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor >= 0) pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

int interruptDescriptor() {
    return descriptor;
}

bool takeInterrupt() {
    if (descriptor < 0) return false;
    bool isThere = false;
    // One may wait for the thread and one for the process.
    for (signalfd_siginfo info; read(descriptor, &info, sizeof info) > 0;)
        isThere = true;
    return isThere;
}

WorkWatch::WorkWatch(bool showsTime) : showsTime_(showsTime) {
    if (descriptor < 0) return;
    ended_ = eventfd(0, EFD_CLOEXEC);
    if (ended_ < 0) return;
    try {
        thread_ = std::thread([this, worker = pthread_self()] { watch(worker); });
    } catch (const std::system_error &) {
        // Nobody watches, then; the work is done all the same.
    }
}

WorkWatch::~WorkWatch() {
    if (thread_.joinable()) {
        const std::uint64_t one = 1;
        const ssize_t ignored = write(ended_, &one, sizeof one);
        static_cast<void>(ignored);
        thread_.join();
    }
    if (hasLine_) writeTerminal("\r\033[K");
    if (ended_ >= 0) close(ended_);
}

void WorkWatch::watch(pthread_t worker) {
    constexpr int second = 1000;
    while (true) {
        std::array<pollfd, 2> ready = {{{ended_, POLLIN, 0}, {descriptor, POLLIN, 0}}};
        const int count = poll(ready.data(), ready.size(), second);
        if (ready[0].revents != 0) return;
        if (count == 0) showTime();
        if (count > 0) takeSignal(worker);
    }
}

void WorkWatch::takeSignal(pthread_t worker) {
    signalfd_siginfo info;
    if (read(descriptor, &info, sizeof info) <= 0) return;
    if (isInterrupted_) endByInterrupt();
    isInterrupted_ = true;
    pthread_kill(worker, SIGINT);
    show("stopping; Ctrl-C again ends the program");
}

void WorkWatch::showTime() {
    ++seconds_;
    if (isInterrupted_) return;
    show("running for " + std::to_string(seconds_) + " s; Ctrl-C stops it");
}

void WorkWatch::show(const std::string &text) {
    if (!showsTime_) return;
    hasLine_ = true;
    writeTerminal("\r\033[2m" + text + "\033[22m\033[K");
}
