#include "tests/support/piped_program.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace support {
namespace {

struct Pipe {
    int read = -1;
    int write = -1;
};

Pipe makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    return {ends[0], ends[1]};
}

void closeDescriptor(int &descriptor) {
    if (descriptor >= 0) close(std::exchange(descriptor, -1));
}

/** A write to a program that has gone is a return value here, not the end of the test. */
void ignoreBrokenPipes() {
    ::signal(SIGPIPE, SIG_IGN);
}

}  // namespace

PipedProgram::PipedProgram(const Command &command, Errors errors) {
    ignoreBrokenPipes();
    Pipe in = makePipe();
    Pipe out = makePipe();
    Pipe err = makePipe();
    child_ = fork();
    if (child_ < 0) throw std::runtime_error("no process");
    if (child_ == 0) {
        dup2(in.read, STDIN_FILENO);
        dup2(out.write, STDOUT_FILENO);
        dup2(errors == Errors::merged ? out.write : err.write, STDERR_FILENO);
        execute(command);
    }
    closeDescriptor(in.read);
    closeDescriptor(out.write);
    closeDescriptor(err.write);
    in_ = in.write;
    out_ = out.read;
    err_ = err.read;
    fcntl(in_, F_SETFL, O_NONBLOCK);
}

PipedProgram::~PipedProgram() {
    closeAll();
    if (child_ < 0) return;
    kill(child_, SIGKILL);
    awaitEnd(child_, Clock::now() + patience);
}

void PipedProgram::closeAll() {
    closeDescriptor(in_);
    closeDescriptor(out_);
    closeDescriptor(err_);
}

void PipedProgram::closeInput() {
    closeDescriptor(in_);
}

void PipedProgram::closeOutput() {
    closeDescriptor(out_);
}

void PipedProgram::signal(int number) const {
    kill(child_, number);
}

bool PipedProgram::send(std::string_view text) {
    const Clock::time_point deadline = Clock::now() + patience;
    while (!text.empty()) {
        const ssize_t written = write(in_, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<size_t>(written));
        } else if (written < 0 && errno != EAGAIN && errno != EINTR) {
            return false;
        } else if (!readSome(deadline)) {
            return false;
        }
    }
    return true;
}

/** Waits until something can be read, or written while input is open; reads what there is. */
bool PipedProgram::readSome(Clock::time_point deadline) {
    std::array<pollfd, 3> wanted = {pollfd{out_, POLLIN, 0}, pollfd{err_, POLLIN, 0},
                                    pollfd{in_, POLLOUT, 0}};
    const int ready = poll(wanted.data(), wanted.size(), millisecondsUntil(deadline));
    if (ready < 0) return errno == EINTR;
    if (wanted[0].revents != 0) readFrom(out_, outText_);
    if (wanted[1].revents != 0) readFrom(err_, errText_);
    return ready > 0;
}

void PipedProgram::readFrom(int &descriptor, std::string &to) {
    std::array<char, 65536> buffer;
    const ssize_t got = read(descriptor, buffer.data(), buffer.size());
    if (got > 0) to.append(buffer.data(), static_cast<size_t>(got));
    if (got == 0 || (got < 0 && errno != EINTR)) closeDescriptor(descriptor);
}

bool PipedProgram::waitFor(const std::string &where, std::string_view text) {
    const Clock::time_point deadline = Clock::now() + patience;
    const int in = std::exchange(in_, -1);  // not a reason to wake up
    while (where.find(text) == std::string::npos && (out_ >= 0 || err_ >= 0)) {
        if (!readSome(deadline)) break;
    }
    in_ = in;
    return where.find(text) != std::string::npos;
}

bool PipedProgram::waitForOutput(std::string_view text) {
    return waitFor(outText_, text);
}

bool PipedProgram::waitForError(std::string_view text) {
    return waitFor(errText_, text);
}

ProgramResult PipedProgram::finish() {
    const Clock::time_point deadline = Clock::now() + patience;
    closeInput();
    while ((out_ >= 0 || err_ >= 0) && readSome(deadline)) {
    }
    const Ending ending = awaitEnd(std::exchange(child_, -1), deadline);
    return {outText_, errText_, ending};
}

ProgramResult run(const Command &command, std::string_view input, PipedProgram::Errors errors) {
    PipedProgram program(command, errors);
    program.send(input);
    return program.finish();
}

}  // namespace support
