#include "platform/linux/programs/DiskUtility.h"

#include "platform/linux/programs/MountPoints.h"
#include "platform/linux/programs/Outcome.h"

#include <cerrno>
#include <chrono>
#include <optional>
#include <system_error>

using namespace Qt::StringLiterals;

namespace ternvault {
namespace {

/// What a mount that is under way may take to come to its end.
constexpr std::chrono::seconds lockPatience{2};
/// For a daemon to put on the server what was written.
constexpr std::chrono::seconds lastBytesPatience{3};

ProcessResult failure(const QString& path, const QString& reason) {
    return failed(u"Unmounting "_s + path + u" failed: "_s + reason);
}

/// Where the kernel says that it is mounted.
std::filesystem::path canonicalMountPoint(const QString& path) {
    std::error_code ignored;
    const auto plain = std::filesystem::path(path.toStdString());
    const auto entry = plain.has_filename() ? plain : plain.parent_path();
    return std::filesystem::weakly_canonical(entry.parent_path(), ignored) / entry.filename();
}

ProcessResult plainly(const QString& path, const std::filesystem::path& mountPoint) {
    if (!isVolumeMount(mountPoint))
        return failure(path, u"no volume is mounted there."_s);
    if (const int error = unmount(mountPoint, false))
        return failure(path, error == EBUSY ? u"the volume is in use."_s
                                            : QString::fromStdString(std::generic_category().message(error)));
    return awaitRemoval(mountPoint) ? ProcessResult{}
                                    : failure(path, u"the volume's program does not end."_s);
}

/// Whatever is left of the volume, mounted or not. Where no lock can be had, that must not keep it from
/// ending; who holds one is about to mount there.
ProcessResult forcibly(const QString& path, const std::filesystem::path& state,
                       const std::filesystem::path& mountPoint) {
    if (!isVolumeMount(mountPoint) && !isPlaceholder(mountPoint) && !readMountRecord(state, mountPoint))
        return hasEntry(mountPoint) ? failure(path, u"no volume is mounted there."_s) : ProcessResult{};
    std::optional<MountLock> lock;
    try {
        auto taken = MountLock::acquire(state, mountPoint, lockPatience);
        if (!taken)
            return failure(path, u"a volume is just being mounted there."_s);
        lock.emplace(std::move(*taken));
    } catch (const std::system_error&) {
        // The state folder cannot be used.
    }
    endVolume(state, mountPoint, lastBytesPatience);
    return hasEntry(mountPoint) ? failure(path, u"files of this computer lie there."_s) : ProcessResult{};
}

} // namespace

ProcessResult DiskUtility::operator()(const QStringList& arguments) const {
    const bool force = arguments.size() == 3 && arguments[1] == "force"_L1;
    if (arguments.size() < 2 || arguments[0] != "unmount"_L1 || (arguments.size() > 2 && !force))
        return misused(u"Only “unmount [force] PATH” is known here."_s);
    const auto& path = arguments.back();
    const auto mountPoint = canonicalMountPoint(path);
    try {
        return force ? forcibly(path, state_, mountPoint) : plainly(path, mountPoint);
    } catch (const std::system_error& error) {
        return failure(path, QString::fromStdString(error.code().message()));
    }
}

} // namespace ternvault
