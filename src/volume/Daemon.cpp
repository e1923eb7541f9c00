#include "volume/Daemon.h"

#include "platform/linux/programs/MountPoints.h"
#include "volume/FuseOperations.h"
#include "volume/MountDirectory.h"
#include "volume/MountFailure.h"

#include <clocale>
#include <csignal>
#include <memory>
#include <system_error>

#include <pthread.h>
#include <sys/prctl.h>

namespace ternvault::volume {
namespace {

constexpr std::chrono::milliseconds connectPatience{5000};

/// A volume mounted by libfuse.
class Session {
public:
    Session(const MountOrder& order, FuseContext& context) {
        std::string options = "fsname=//" + order.url.host + "/" + order.url.share;
        for (auto at = options.find_first_of(",\\"); at != options.npos;
             at = options.find_first_of(",\\", at + 2))
            options.insert(at, 1, '\\');
        options += ",subtype=ternvault,nosuid,nodev,noatime";
        std::string program = "ternvault-volume", flag = "-o";
        char* words[] = {program.data(), flag.data(), options.data(), nullptr};
        fuse_args arguments = FUSE_ARGS_INIT(3, words);
        session_ = fuse_session_new(&arguments, &fuseOperations(), sizeof(fuse_lowlevel_ops), &context);
        fuse_opt_free_args(&arguments);
        if (!session_ || fuse_session_mount(session_, order.mountPoint.c_str()) != 0)
            throw MountFailure("This computer does not allow mounting (is the fuse3 package installed?).");
        fuse_set_signal_handlers(session_);
    }
    ~Session() {
        if (session_)
            fuse_session_destroy(session_);
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void serve() { fuse_session_loop(session_); }
    void unmount() { fuse_session_unmount(session_); }
    void dropAttributes(std::uint64_t number) {
        // A negative offset means attributes only, which never waits for a page that is being written.
        fuse_lowlevel_notify_inval_inode(session_, number, -1, 0);
    }

private:
    fuse_session* session_ = nullptr;
};

/// One for each server: another one's share may have the same name.
std::unique_ptr<OverwriteJournal> openJournal(const MountOrder& order) {
    const auto file = mountStateFile(order.state, order.mountPoint, "@" + order.url.host + ".overwrites");
    try {
        return std::make_unique<OverwriteJournal>(file);
    } catch (const std::system_error& error) {
        throw MountFailure("The file " + file.string() + " cannot be used: " + error.code().message() + ".");
    }
}

/// A volume that nobody was told of must not appear. One that is in use goes on.
void endWithTheKeeper(bool does) {
    ::prctl(PR_SET_PDEATHSIG, does ? SIGKILL : 0);
}

void mountAndServe(const MountOrder& order, DaemonEnd link) {
    isolateSambaSettings(order.state);
    const auto journal = openJournal(order);
    SmbWorker worker(order.url, [link] { link.alive(); });
    Volume volume(worker, *journal);
    worker.start(volume, connectPatience);
    const MountDirectory directory(order);
    FuseContext context{volume, [link] {
                            endWithTheKeeper(false);
                            link.mounted();
                        }};
    directory.open();
    Session session(order, context);
    directory.close();
    volume.setHooks({[&](std::uint64_t number) { session.dropAttributes(number); },
                     [&, thread = ::pthread_self()] {
                         ternvault::unmount(order.mountPoint, true);
                         // Open files keep a detached mount alive: the session must be told to end.
                         ::pthread_kill(thread, SIGHUP);
                     }});
    session.serve();
    worker.stop();
    session.unmount();
}

} // namespace

void runDaemon(const MountOrder& order, DaemonEnd link) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::signal(SIGPIPE, SIG_IGN);
    endWithTheKeeper(true);
    try {
        mountAndServe(order, link);
    } catch (const MountFailure& failure) {
        link.failed(failure.what());
    } catch (const std::filesystem::filesystem_error& error) {
        link.failed(describeLocalError(error));
    } catch (const std::system_error& error) {
        link.failed(describeConnectError(error.code().value()));
    }
}

} // namespace ternvault::volume
