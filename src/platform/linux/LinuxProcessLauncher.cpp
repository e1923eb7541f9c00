#include "platform/linux/LinuxProcessLauncher.h"

#include "base/FileDescriptor.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <vector>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;
};

int openPipe(Pipe& pipe) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return errno;
    pipe.readEnd = FileDescriptor(ends[0]);
    pipe.writeEnd = FileDescriptor(ends[1]);
    ::fcntl(pipe.readEnd.get(), F_SETFL, O_NONBLOCK);
    return 0;
}

/// Starts the program with both streams in the pipes and `held`, if any, left open; 0 or the error number.
int spawn(const QString& program, const QStringList& arguments, const Pipe& output, const Pipe& error,
          const FileDescriptor& held, pid_t& child) {
    std::vector<QByteArray> encoded{QFile::encodeName(program)};
    for (const QString& argument : arguments)
        encoded.push_back(QFile::encodeName(argument));
    std::vector<char*> argv;
    argv.reserve(encoded.size() + 1);
    for (QByteArray& argument : encoded)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t streams;
    ::posix_spawn_file_actions_init(&streams);
    ::posix_spawn_file_actions_adddup2(&streams, output.writeEnd.get(), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&streams, error.writeEnd.get(), STDERR_FILENO);
    if (held) // Onto itself, which takes "close on exec" off in the child alone.
        ::posix_spawn_file_actions_adddup2(&streams, held.get(), held.get());
    // What this process ignores or this thread blocks is no business of the program, nor is the terminal's
    // interrupt, which its caller handles: it gets a process group of its own.
    posix_spawnattr_t signals;
    sigset_t none;
    sigset_t all;
    ::sigemptyset(&none);
    ::sigfillset(&all);
    ::posix_spawnattr_init(&signals);
    ::posix_spawnattr_setflags(&signals,
                               POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    ::posix_spawnattr_setsigmask(&signals, &none);
    ::posix_spawnattr_setsigdefault(&signals, &all);
    const int failure = ::posix_spawn(&child, argv[0], &streams, &signals, argv.data(), environ);
    ::posix_spawnattr_destroy(&signals);
    ::posix_spawn_file_actions_destroy(&streams);
    return failure;
}

/// Reads what is there now; false when there is no more to come.
bool drain(const FileDescriptor& stream, QByteArray& captured) {
    std::array<char, 65536> block; // NOLINT: filled by read
    while (true) {
        const ssize_t size = ::read(stream.get(), block.data(), block.size());
        if (size > 0)
            captured.append(block.data(), size);
        else if (size == 0 || errno != EINTR)
            return size != 0 && errno == EAGAIN;
    }
}

/// Captures both streams until the program ends. A daemon that it leaves behind with its streams does not
/// hold up the end.
void capture(const FileDescriptor& process, const Pipe& output, const Pipe& error, ProcessResult& result) {
    std::array<pollfd, 3> awaited{pollfd{process.get(), POLLIN, 0}, pollfd{output.readEnd.get(), POLLIN, 0},
                                  pollfd{error.readEnd.get(), POLLIN, 0}};
    const auto isOpen = [](const pollfd& entry) { return entry.fd >= 0; };
    while (awaited[0].revents == 0 && std::ranges::any_of(awaited, isOpen)) {
        ::poll(awaited.data(), awaited.size(), -1);
        // A negative descriptor is left out by poll(2).
        if (!drain(output.readEnd, result.standardOutput))
            awaited[1].fd = -1;
        if (!drain(error.readEnd, result.standardError))
            awaited[2].fd = -1;
    }
}

ProcessResult runProgram(const QString& program, const QStringList& arguments, const FileDescriptor& held) {
    ProcessResult result;
    Pipe output;
    Pipe error;
    pid_t child = 0;
    int failure = openPipe(output);
    if (failure == 0)
        failure = openPipe(error);
    if (failure == 0)
        failure = spawn(program, arguments, output, error, held, child);
    if (failure != 0) {
        result.startError =
            program + u": "_s + QString::fromStdString(std::generic_category().message(failure));
        return result;
    }
    output.writeEnd = FileDescriptor();
    error.writeEnd = FileDescriptor();
    // Not pidfd_open(3): the header of glibc 2.36 declares it for C only.
    const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    capture(process, output, error, result);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitStatus = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    return result;
}

} // namespace

ProcessResult LinuxProcessLauncher::run(const QString& program, const QStringList& arguments) {
    return runHolding(FileDescriptor(), program, arguments);
}

ProcessResult LinuxProcessLauncher::runHolding(const FileDescriptor& held, const QString& program,
                                               const QStringList& arguments) {
    const ProgramTable::Entry entry = programs_.find(program);
    if (const auto* const standIn = std::get_if<StandIn>(&entry))
        return (*standIn)(arguments);
    return runProgram(std::get<QString>(entry), arguments, held);
}

bool LinuxProcessLauncher::isExecutable(const QString& program) const {
    const ProgramTable::Entry entry = programs_.find(program);
    if (std::holds_alternative<StandIn>(entry))
        return true;
    const QFileInfo file(std::get<QString>(entry));
    return file.isFile() && file.isExecutable();
}

} // namespace ternvault
