#include "mount/VolumeTable.h"

#include <QFile>

namespace ternvault {

VolumeTable::VolumeTable(const std::filesystem::path& volumesRoot)
    : root_(QFile::decodeName(volumesRoot.c_str()) + u'/') {}

std::filesystem::path VolumeTable::mountPoint(const QString& volumeName) const {
    return mountPointText(volumeName).toStdString();
}

QString VolumeTable::mountPointText(const QString& volumeName) const {
    return root_ + volumeName;
}

} // namespace ternvault
