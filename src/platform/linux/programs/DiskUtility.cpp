#include "platform/linux/programs/DiskUtility.h"

#include "platform/linux/programs/MountPoints.h"
#include "platform/linux/programs/Outcome.h"

#include <cerrno>
#include <system_error>

using namespace Qt::StringLiterals;

namespace ternvault {
namespace {

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

} // namespace

ProcessResult DiskUtility::operator()(const QStringList& arguments) const {
    const bool force = arguments.size() == 3 && arguments[1] == "force"_L1;
    if (arguments.size() < 2 || arguments[0] != "unmount"_L1 || (arguments.size() > 2 && !force))
        return misused(u"Only “unmount [force] PATH” is known here."_s);
    const auto& path = arguments.back();
    const auto mountPoint = canonicalMountPoint(path);
    if (!isVolumeMount(mountPoint))
        return failure(path, u"no volume is mounted there."_s);
    const auto record = readMountRecord(state_, mountPoint);
    const int error = unmount(mountPoint, force);
    if (error != 0)
        return failure(path, error == EBUSY ? u"the volume is in use."_s
                                            : QString::fromStdString(std::generic_category().message(error)));
    if (force && record)
        record->daemon.kill();
    if (awaitRemoval(mountPoint))
        return {};
    reapLeftovers(mountPoint.parent_path(), state_);
    if (isVolumeMount(mountPoint) || isPlaceholder(mountPoint))
        return failure(path, u"the volume's program does not end."_s);
    return {};
}

} // namespace ternvault
