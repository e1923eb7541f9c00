#include "mount/VolumeTable.h"

#include <QFile>

namespace ternvault {

using namespace Qt::StringLiterals;

VolumeTable::VolumeTable(const FileManager& files, const std::filesystem::path& volumesRoot)
    : files_(files), root_(QFile::decodeName(volumesRoot.c_str()) + u'/') {}

bool VolumeTable::hasVolume(const QString& volumeName) const {
    const bool leadsElsewhere = volumeName.contains(u'/') || volumeName == u"."_s || volumeName == u".."_s;
    return !leadsElsewhere && files_.exists(mountPoint(volumeName));
}

std::filesystem::path VolumeTable::mountPoint(const QString& volumeName) const {
    return mountPointText(volumeName).toStdString();
}

QString VolumeTable::mountPointText(const QString& volumeName) const {
    return root_ + volumeName;
}

} // namespace ternvault
