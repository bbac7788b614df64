#include "tests/robustness/measured_run.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <streambuf>
#include <vector>

namespace robustness {
namespace {

/** Writes to a descriptor; an error of writing sets the stream's state. */
class DescriptorBuffer : public std::streambuf {
public:
    explicit DescriptorBuffer(int descriptor) : descriptor_(descriptor), buffer_(1 << 16) {
        setp(buffer_.data(), buffer_.data() + buffer_.size());
    }

protected:
    int_type overflow(int_type character) override {
        if (sync() != 0) return traits_type::eof();
        if (traits_type::eq_int_type(character, traits_type::eof())) return 0;
        return sputc(traits_type::to_char_type(character));
    }

    int sync() override {
        const char *from = pbase();
        while (from < pptr()) {
            const ssize_t written =
                ::write(descriptor_, from, static_cast<std::size_t>(pptr() - from));
            if (written < 0 && errno == EINTR) continue;
            if (written < 0) return -1;
            from += written;
        }
        setp(buffer_.data(), buffer_.data() + buffer_.size());
        return 0;
    }

private:
    int descriptor_;
    std::vector<char> buffer_;
};

double secondsOf(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

support::Ending endingOf(int status) {
    if (WIFSIGNALED(status)) return support::killedBy(WTERMSIG(status));
    return support::exited(WEXITSTATUS(status));
}

Measures awaitEnd(pid_t child) {
    int status = 0;
    rusage usage{};
    while (::wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    Measures measures;
    measures.ending = endingOf(status);
    measures.peakBytes = static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
    measures.processorSeconds = secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
    return measures;
}

}  // namespace

Measures measure(const support::Command &command, const std::function<void(std::ostream &)> &feed) {
    ::signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const auto begin = support::Clock::now();
    const pid_t child = ::fork();
    if (child < 0) throw std::runtime_error("no process");
    if (child == 0) {
        ::dup2(ends[0], STDIN_FILENO);
        support::execute(command);
    }
    ::close(ends[0]);
    DescriptorBuffer buffer(ends[1]);
    std::ostream out(&buffer);
    feed(out);
    out.flush();
    ::close(ends[1]);
    Measures measures = awaitEnd(child);
    measures.seconds = std::chrono::duration<double>(support::Clock::now() - begin).count();
    return measures;
}

}  // namespace robustness
