#include "zdbs/serve/kernel_command.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace zdbs::serve {

namespace {

using remote::Kind;
using remote::MessageWriter;

/** How often it is looked whether the command is to end, in milliseconds. */
constexpr int tick = 50;

/** How long a command that is interrupted may take to end. */
constexpr std::chrono::seconds patience{5};

/** Of what may be answered: to say why it ends. */
constexpr std::uint64_t roomForTheEnd = 4096;

/** What is read at once; its message is no larger than what an answer keeps back. */
constexpr std::size_t pieceSize = std::size_t{32} * 1024;

[[noreturn]] void failSystem(int error) {
    throw Failure(Status::storeFailed, {"zdbs", std::system_category().message(error)});
}

/** Two ends; the second one is for another process. */
struct Ends {
    FileDescriptor ours;
    FileDescriptor theirs;
};

Ends pipeFrom() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) failSystem(errno);
    Ends result{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
    ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return result;
}

Ends socketPair() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) failSystem(errno);
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

std::vector<char *> pointersTo(const std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    for (const std::string &text : texts)
        pointers.push_back(const_cast<char *>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

KernelCommand::KernelCommand(const std::string &location, const std::string &user,
                             const std::vector<std::string> &words, CommandLimits limits)
    : left_(limits.result) {
    const auto program = std::filesystem::read_symlink("/proc/self/exe").replace_filename("zdbs");
    const std::vector<std::string> environment = {"ZDBS_HOME=" + location, "ZDBS_GRANTS_OF=" + user,
                                                  "LC_ALL=C.UTF-8", "PATH=/usr/bin:/bin"};
    std::vector<std::string> all = {"zdbs"};
    all.insert(all.end(), words.begin(), words.end());
    Ends input = socketPair();
    Ends output = pipeFrom();
    Ends errors = pipeFrom();
    spawn(program, pointersTo(all).data(), pointersTo(environment).data(), input.theirs.get(),
          output.theirs.get(), errors.theirs.get());
    const rlimit most = {limits.memory, limits.memory};
    // Checks of addresses need more than there is, and in a build with them memory has no limit.
    if (canCountMemory()) ::prlimit(id_, RLIMIT_DATA, &most, nullptr);
    input_ = std::move(input.ours);
    output_ = std::move(output.ours);
    errors_ = std::move(errors.ours);
}

KernelCommand::~KernelCommand() {
    if (id_ <= 0) return;
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
}

/** With no signal held back or ignored, and nothing open but what is given. */
void KernelCommand::spawn(const std::string &program, char *const *words, char *const *environment,
                          int input, int output, int errors) {
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    ::posix_spawn_file_actions_init(&files);
    ::posix_spawnattr_init(&attributes);
    ::posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&files, errors, STDERR_FILENO);
    ::posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &all);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    const int error = ::posix_spawn(&id_, program.c_str(), &files, &attributes, words, environment);
    ::posix_spawn_file_actions_destroy(&files);
    ::posix_spawnattr_destroy(&attributes);
    if (error == 0) return;
    id_ = -1;
    failSystem(error);
}

/** What was written before a demand is there when the demand is: so one more look finds it. */
std::optional<int> KernelCommand::goOn(Reply &reply, const RequestStop &stop) {
    while (output_ || errors_) {
        std::array<pollfd, 3> places = {{{output_.get(), POLLIN, 0},
                                         {errors_.get(), POLLIN, 0},
                                         {isAsking_ ? -1 : input_.get(), POLLIN, 0}}};
        const int ready = ::poll(places.data(), places.size(), isAsking_ ? 0 : tick);
        if (places[0].revents != 0) pass(output_, Kind::output, reply);
        if (places[1].revents != 0) pass(errors_, Kind::errors, reply);
        if (isAsking_ && ready == 0) return std::nullopt;
        if (places[2].revents != 0) takeDemand();
        heed(stop);
    }
    return wait();
}

void KernelCommand::pass(FileDescriptor &from, Kind kind, Reply &reply) {
    std::array<char, pieceSize> buffer{};
    const ssize_t got = ::read(from.get(), buffer.data(), buffer.size());
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (got <= 0) {
        from = FileDescriptor();
        return;
    }
    MessageWriter message(kind);
    const std::string &bytes = message.text({buffer.data(), static_cast<std::size_t>(got)}).bytes();
    if (bytes.size() + roomForTheEnd > left_)
        throw Failure(Status::serverRefused, {"the answer is larger than answers may be"});
    left_ -= bytes.size();
    reply.write(bytes);
    reply.flush();
}

void KernelCommand::takeDemand() {
    std::array<char, 64> demand{};
    const ssize_t got = ::recv(input_.get(), demand.data(), demand.size(), MSG_DONTWAIT);
    if (got < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (got <= 0) input_ = FileDescriptor();
    isAsking_ = got > 0;
}

/** It has taken everything else, so there is room for all of it. */
void KernelCommand::give(std::string_view input) {
    isAsking_ = false;
    if (input.empty())
        ::shutdown(input_.get(), SHUT_WR);
    else
        ::send(input_.get(), input.data(), input.size(), MSG_NOSIGNAL);
}

/** Nobody is told what it still writes when its client is gone. */
void KernelCommand::heed(const RequestStop &stop) {
    if (!stop.isRequested()) return;
    const StopReason reason = stop.reason();
    const bool isAlone = reason == StopReason::clientGone || reason == StopReason::slowClient;
    if (isAlone || reason == StopReason::shutdown) throw Failure(Status::stopped);
    interrupt();
    if (Clock::now() > *interrupted_ + patience) throw Failure(Status::stopped);
}

void KernelCommand::interrupt() {
    if (interrupted_) return;
    ::kill(id_, SIGINT);
    interrupted_ = Clock::now();
}

/** As a shell tells it. */
int KernelCommand::wait() {
    int status = 0;
    while (::waitpid(id_, &status, 0) < 0 && errno == EINTR) {
    }
    id_ = -1;
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (interrupted_) return 128 + WTERMSIG(status);
    throw Failure(Status::serverRefused,
                  {"the command was ended by signal " + std::to_string(WTERMSIG(status))});
}

}  // namespace zdbs::serve
