#include "volume/Daemon.h"

#include "platform/linux/programs/MountPoints.h"
#include "volume/FuseOperations.h"
#include "volume/MountFailure.h"

#include <clocale>
#include <csignal>
#include <memory>
#include <system_error>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ternvault::volume {
namespace {

constexpr std::chrono::milliseconds connectPatience{5000};
constexpr mode_t nobody = 0;

/// The directory below the mount, which only we make and which nobody may enter while nothing is mounted
/// there.
class MountDirectory {
public:
    explicit MountDirectory(const MountOrder& order) : order_(order) {
        const auto& path = order.mountPoint;
        if (isPlaceholder(path))
            ::rmdir(path.c_str());
        if (std::filesystem::exists(std::filesystem::symlink_status(path)))
            throw MountFailure("There is already another entry named “" + order.url.share +
                               "” where volumes are mounted.");
        writeMountRecord(order.state,
                         {path, ProcessIdentity::of(::getppid()), ProcessIdentity::of(::getpid())});
        if (::mkdir(path.c_str(), S_IRWXU) != 0) {
            const auto reason = std::generic_category().message(errno);
            removeMountRecord(order.state, path);
            throw MountFailure("The directory of the volume cannot be created: " + reason + ".");
        }
        descriptor_ = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    }
    ~MountDirectory() {
        if (descriptor_ >= 0)
            ::close(descriptor_);
        removeMountPoint(order_.state, order_.mountPoint);
    }
    MountDirectory(const MountDirectory&) = delete;
    MountDirectory& operator=(const MountDirectory&) = delete;

    /// After something was mounted over it.
    void lock() { ::fchmod(descriptor_, nobody); }

private:
    const MountOrder& order_;
    int descriptor_ = -1;
};

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

std::unique_ptr<UnfinishedFiles> openUnfinishedFiles(const MountOrder& order) {
    const auto file = mountStateFile(order.state, order.mountPoint, ".unfinished");
    try {
        return std::make_unique<UnfinishedFiles>(file);
    } catch (const std::system_error& error) {
        throw MountFailure("The file " + file.string() + " cannot be used: " + error.code().message() + ".");
    }
}

void mountAndServe(const MountOrder& order, DaemonEnd link) {
    isolateSambaSettings(order.state);
    const auto unfinished = openUnfinishedFiles(order);
    SmbWorker worker(order.url, [link] { link.alive(); });
    Volume volume(worker, *unfinished);
    worker.start(volume, connectPatience);
    MountDirectory directory(order);
    FuseContext context{volume, [&] {
                            directory.lock();
                            link.mounted();
                        }};
    Session session(order, context);
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
    try {
        mountAndServe(order, link);
    } catch (const MountFailure& failure) {
        link.failed(failure.what());
    } catch (const std::system_error& error) {
        link.failed(describeConnectError(error.code().value()));
    }
}

} // namespace ternvault::volume
