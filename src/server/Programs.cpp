#include "server/Programs.h"

#include "base/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

// This version of the header does not say that it is C.
extern "C" {
#include <sys/pidfd.h>
}

namespace ternvault::server {

namespace {

using Clock = std::chrono::steady_clock;

/// What is read of a program's output; more ends the program.
constexpr std::size_t largestOutput = 8 << 20;

[[noreturn]] void fail() {
    throw std::system_error(errno, std::generic_category());
}

struct Pipe {
    Pipe() {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            fail();
        out = FileDescriptor(ends[0]);
        in = FileDescriptor(ends[1]);
    }
    FileDescriptor out;
    FileDescriptor in;
};

/// A pipe that holds `input` and nothing more. It is written while nobody can have closed the other end, so
/// that no program that leaves its input unread raises a signal here.
FileDescriptor filledPipe(std::string_view input) {
    Pipe pipe;
    if (input.size() > PIPE_BUF)
        throw std::length_error("too much input for a program");
    if (::write(pipe.in.get(), input.data(), input.size()) != static_cast<ssize_t>(input.size()))
        fail();
    return std::move(pipe.out);
}

class SpawnPlan {
public:
    SpawnPlan(int input, int output) {
        ::posix_spawn_file_actions_init(&actions_);
        ::posix_spawn_file_actions_adddup2(&actions_, input, STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
        ::posix_spawn_file_actions_addopen(&actions_, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
        ::posix_spawnattr_init(&attributes_);
        ::posix_spawnattr_setflags(&attributes_,
                                   POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes_, &signals);
        ::sigaddset(&signals, SIGPIPE);
        ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan() {
        ::posix_spawn_file_actions_destroy(&actions_);
        ::posix_spawnattr_destroy(&attributes_);
    }

    /// The process id; negative when the program could not be started.
    pid_t start(const Command& command) const {
        std::vector<char*> arguments;
        for (const std::string& argument : command)
            arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        pid_t pid = -1;
        const int code =
            ::posix_spawn(&pid, arguments[0], &actions_, &attributes_, arguments.data(), environ);
        return code == 0 ? pid : -1;
    }

private:
    posix_spawn_file_actions_t actions_{};
    posix_spawnattr_t attributes_{};
};

/// A program on its way from its start to its end.
class RunningProgram {
public:
    RunningProgram(pid_t pid, FileDescriptor output)
        : pid_(pid), ended_(::pidfd_open(pid, 0)), pipe_(std::move(output)) {
        ::fcntl(pipe_.get(), F_SETFL, O_NONBLOCK);
    }

    /// Whether the program ended by itself in time.
    bool waitUntil(Clock::time_point end) {
        while (true) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
            std::array<pollfd, 2> entries{pollfd{ended_.get(), POLLIN, 0}, pollfd{pipe_.get(), POLLIN, 0}};
            if (left <= 0 || ::poll(entries.data(), entries.size(), static_cast<int>(left)) == 0)
                return false;
            if (entries[1].revents != 0)
                readOutput();
            if (output_.size() > largestOutput)
                return false;
            if (entries[0].revents != 0)
                return true;
        }
    }

    void kill() const { ::kill(-pid_, SIGKILL); }

    ProgramResult result() {
        int status = 0;
        while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
        }
        // What it wrote last; a process that it left behind may keep the pipe open.
        while (pipe_ && output_.size() <= largestOutput && readOutput()) {
        }
        if (WIFEXITED(status))
            return {WEXITSTATUS(status), std::move(output_)};
        return {};
    }

private:
    /// Whether there was any.
    bool readOutput() {
        char buffer[16384];
        const auto size = ::read(pipe_.get(), buffer, sizeof buffer);
        if (size > 0)
            output_.append(buffer, static_cast<std::size_t>(size));
        else if (size == 0 || errno != EAGAIN)
            pipe_ = FileDescriptor();
        return size > 0;
    }

    pid_t pid_;
    FileDescriptor ended_;
    /// None when the program has closed its end.
    FileDescriptor pipe_;
    std::string output_;
};

} // namespace

ProgramResult SystemPrograms::run(const Command& command, std::string_view input,
                                  std::chrono::milliseconds limit) {
    const auto end = Clock::now() + limit;
    const FileDescriptor filled = filledPipe(input);
    Pipe output;
    const pid_t pid = SpawnPlan(filled.get(), output.in.get()).start(command);
    if (pid < 0)
        return {};
    output.in = FileDescriptor();
    RunningProgram program(pid, std::move(output.out));
    if (!program.waitUntil(end))
        program.kill();
    return program.result();
}

} // namespace ternvault::server
