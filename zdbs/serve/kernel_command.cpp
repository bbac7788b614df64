#include "zdbs/serve/kernel_command.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <optional>
#include <system_error>

#include "zdbs/base/private_files.h"
#include "zdbs/serve/request_stop.h"

namespace zdbs::serve {

namespace {

using remote::Kind;
using remote::MessageReader;
using remote::MessageWriter;

/** How often it is looked whether the command is to end, in milliseconds. */
constexpr int tick = 50;

using Clock = std::chrono::steady_clock;

/** How long a command that is interrupted may take to end. */
constexpr std::chrono::seconds patience{5};

[[noreturn]] void failSystem(int error) {
    throw Failure(Status::storeFailed, {"zdbs", std::system_category().message(error)});
}

struct Pipe {
    FileDescriptor out;
    FileDescriptor in;

    Pipe() {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) failSystem(errno);
        out = FileDescriptor(ends[0]);
        in = FileDescriptor(ends[1]);
    }
};

/** A process with pipes; killed and reaped with its owner. */
class Child {
public:
    Child(const std::string &location, const std::string &user,
          const std::vector<std::string> &words, std::uint64_t memory) {
        const auto program =
            std::filesystem::read_symlink("/proc/self/exe").replace_filename("zdbs");
        const std::vector<std::string> environment = {"ZDBS_HOME=" + location,
                                                      "ZDBS_GRANTS_OF=" + user, "LC_ALL=C.UTF-8",
                                                      "PATH=/usr/bin:/bin"};
        std::vector<std::string> all = {"zdbs"};
        all.insert(all.end(), words.begin(), words.end());
        spawn(program, pointersTo(all).data(), pointersTo(environment).data());
        const rlimit most = {memory, memory};
        // Checks of addresses need more than there is, and in a build with them memory has no
        // limit.
        if (canCountMemory()) ::prlimit(id_, RLIMIT_DATA, &most, nullptr);
        input.out = FileDescriptor();
        output.in = FileDescriptor();
        errors.in = FileDescriptor();
        ::fcntl(input.in.get(), F_SETFL, O_NONBLOCK);
    }
    ~Child() {
        if (id_ <= 0) return;
        ::kill(id_, SIGKILL);
        wait();
    }
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    void interrupt() const { ::kill(id_, SIGINT); }

    /** As a shell tells it. */
    int wait() {
        int status = 0;
        while (::waitpid(id_, &status, 0) < 0 && errno == EINTR) {
        }
        id_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    Pipe input;
    Pipe output;
    Pipe errors;

private:
    static std::vector<char *> pointersTo(const std::vector<std::string> &texts) {
        std::vector<char *> pointers;
        for (const std::string &text : texts)
            pointers.push_back(const_cast<char *>(text.c_str()));
        pointers.push_back(nullptr);
        return pointers;
    }

    /** With no signal held back or ignored, and nothing open but its pipes. */
    void spawn(const std::string &program, char *const *words, char *const *environment) {
        posix_spawn_file_actions_t files;
        posix_spawnattr_t attributes;
        ::posix_spawn_file_actions_init(&files);
        ::posix_spawnattr_init(&attributes);
        ::posix_spawn_file_actions_adddup2(&files, input.out.get(), STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&files, output.in.get(), STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&files, errors.in.get(), STDERR_FILENO);
        ::posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        ::posix_spawnattr_setsigmask(&attributes, &none);
        ::posix_spawnattr_setsigdefault(&attributes, &all);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        const int error =
            ::posix_spawn(&id_, program.c_str(), &files, &attributes, words, environment);
        ::posix_spawn_file_actions_destroy(&files);
        ::posix_spawnattr_destroy(&attributes);
        if (error == 0) return;
        id_ = -1;
        failSystem(error);
    }

    pid_t id_ = -1;
};

/** What goes between a process and its client. */
class Pump {
public:
    Pump(Child &child, KernelConnection &connection, const Stop &stop, std::uint64_t most)
        : child_(child), connection_(connection), stop_(stop), left_(most) {}

    /** Up to the end of both outputs. */
    void run() {
        while (child_.output.out || child_.errors.out) {
            std::array<pollfd, 4> places = {{{child_.output.out.get(), POLLIN, 0},
                                             {child_.errors.out.get(), POLLIN, 0},
                                             {inputToWaitAt(), POLLOUT, 0},
                                             {connection_.socket(), POLLIN, 0}}};
            ::poll(places.data(), places.size(), tick);
            if (places[0].revents != 0) pass(child_.output.out, Kind::output);
            if (places[1].revents != 0) pass(child_.errors.out, Kind::errors);
            if (places[2].revents != 0) feed();
            if (places[3].revents != 0 || connection_.holdsBytes()) takeMessage();
            heed();
        }
    }

private:
    int inputToWaitAt() const { return isAsking_ ? -1 : child_.input.in.get(); }

    void pass(FileDescriptor &from, Kind kind) {
        std::array<char, std::size_t{64} * 1024> buffer{};
        const ssize_t got = ::read(from.get(), buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) return;
        if (got <= 0) {
            from = FileDescriptor();
            return;
        }
        const auto size = static_cast<std::size_t>(got);
        if (size > left_)
            throw Failure(Status::serverRefused, {"the answer is larger than answers may be"});
        left_ -= size;
        send(MessageWriter(kind).text({buffer.data(), size}));
    }

    /** What the client sent; or, when all of it is in the pipe, it is asked for more. */
    void feed() {
        if (pending_.empty()) {
            isAsking_ = true;
            MessageWriter wanted(Kind::wanted);
            return send(wanted);
        }
        const ssize_t written = ::write(child_.input.in.get(), pending_.data(), pending_.size());
        if (written < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (written < 0) child_.input.in = FileDescriptor();
        pending_.erase(0, written < 0 ? pending_.size() : static_cast<std::size_t>(written));
    }

    void takeMessage() {
        const auto call = connection_.receive();
        if (!call) throw Failure(Status::stopped);
        if (call->kind == Kind::stop) return interrupt();
        if (call->kind != Kind::input || !isAsking_) throw MessageReader::Malformed();
        MessageReader reader(call->content);
        pending_ = reader.text();
        reader.end();
        isAsking_ = false;
        if (pending_.empty()) child_.input.in = FileDescriptor();
    }

    /** Where it does not end then, its owner kills it. */
    void heed() {
        if (stop_.isRequested()) interrupt();
        if (interrupted_ && Clock::now() > *interrupted_ + patience) throw Failure(Status::stopped);
    }

    void interrupt() {
        if (interrupted_) return;
        child_.interrupt();
        interrupted_ = Clock::now();
    }

    void send(MessageWriter &message) {
        if (!connection_.send(message.bytes())) throw Failure(Status::stopped);
    }
    void send(MessageWriter &&message) { send(message); }

    Child &child_;
    KernelConnection &connection_;
    const Stop &stop_;
    std::uint64_t left_;
    std::string pending_;
    bool isAsking_ = false;
    std::optional<Clock::time_point> interrupted_;
};

}  // namespace

int runCommand(const std::string &location, const std::string &user,
               const std::vector<std::string> &words, KernelConnection &connection,
               const Stop &stop, CommandLimits limits) {
    Child child(location, user, words, limits.memory);
    Pump(child, connection, stop, limits.result).run();
    return child.wait();
}

}  // namespace zdbs::serve
