#include "volume/Keeper.h"

#include "volume/MountFailure.h"

#include <cerrno>
#include <csignal>
#include <optional>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ternvault::volume {
namespace {

constexpr int beatMilliseconds = 1000;
/// A daemon that lets this many beats pass is ended. Counted, not timed: a suspended machine misses none.
constexpr int missedBeatsAllowed = 6;

class Keeper {
public:
    Keeper(const MountOrder& order, int report, MountLock lock)
        : order_(order), report_(report), lock_(std::move(lock)) {}

    void run() {
        try {
            startDaemon();
            while (watch()) {
            }
            endDaemon();
        } catch (const MountFailure& failure) {
            failure_ = failure.what();
        }
        cleanUp();
        if (!mounted_)
            tell(failure_);
    }

private:
    void cleanUp() const {
        try {
            removeMountPoint(order_.state, order_.mountPoint);
        } catch (const std::system_error&) {
            // Whoever mounts or starts next tries again.
        }
    }

    void startDaemon() {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
            throw MountFailure(outOfResources);
        daemon_ = ::fork();
        if (daemon_ < 0)
            throw MountFailure(outOfResources);
        if (daemon_ == 0) {
            ::close(ends[0]);
            ::close(report_);
            lock_.reset();
            runDaemon(order_, DaemonEnd(ends[1]));
            ::_exit(0);
        }
        // Its fusermount3 must end with it.
        ::setpgid(daemon_, daemon_);
        ::close(ends[1]);
        link_ = ends[0];
        sigset_t signals;
        ::sigemptyset(&signals);
        for (const int number : {SIGTERM, SIGINT, SIGHUP})
            ::sigaddset(&signals, number);
        ::sigprocmask(SIG_BLOCK, &signals, nullptr);
        signals_ = ::signalfd(-1, &signals, SFD_CLOEXEC);
    }

    /// Waits for one event; false when the daemon has ended or must end.
    bool watch() {
        pollfd entries[] = {{link_, POLLIN, 0}, {signals_, POLLIN, 0}, {report_, 0, 0}};
        const int count = ::poll(entries, report_ < 0 ? 2 : 3, beatMilliseconds);
        if (count == 0)
            return ++missedBeats_ < missedBeatsAllowed || !mounted_;
        if (entries[1].revents && !askedToEnd())
            return false;
        if (entries[0].revents)
            return readLink();
        return !entries[2].revents;
    }

    /// A mounted volume is given the time to put its last bytes on the server.
    bool askedToEnd() {
        signalfd_siginfo info;
        [[maybe_unused]] const auto size = ::read(signals_, &info, sizeof info);
        if (mounted_)
            ::kill(daemon_, SIGTERM);
        else
            failure_ = "The server did not answer in time.";
        return mounted_;
    }

    bool readLink() {
        char buffer[512];
        const auto size = ::read(link_, buffer, sizeof buffer);
        if (size <= 0)
            return false;
        missedBeats_ = 0;
        const std::string_view text(buffer, static_cast<std::size_t>(size));
        if (const auto at = text.find(message::failed); at != text.npos) {
            failure_ = text.substr(at + 1);
            return false;
        }
        if (text.find(message::mounted) != text.npos) {
            mounted_ = tell("");
            lock_.reset();
            return mounted_;
        }
        return true;
    }

    /// Tells the outcome and closes the report; false when nobody listens any more.
    bool tell(const std::string& outcome) {
        const auto line = outcome + "\n";
        const bool sent = ::write(report_, line.data(), line.size()) == static_cast<ssize_t>(line.size());
        ::close(report_);
        report_ = -1;
        return sent;
    }

    void endDaemon() {
        if (!mounted_ || missedBeats_ >= missedBeatsAllowed)
            ::kill(-daemon_, SIGKILL);
        while (::waitpid(daemon_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }

    const MountOrder& order_;
    int report_;
    std::optional<MountLock> lock_;
    int link_ = -1;
    int signals_ = -1;
    pid_t daemon_ = 0;
    bool mounted_ = false;
    int missedBeats_ = 0;
    std::string failure_ = endedUnexpectedly;
};

} // namespace

void runKeeper(const MountOrder& order, int report, MountLock lock) {
    std::signal(SIGPIPE, SIG_IGN);
    Keeper(order, report, std::move(lock)).run();
}

} // namespace ternvault::volume
