#pragma once

#include "base/FileDescriptor.h"
#include "volume/Daemon.h"

namespace ternvault::volume {

/// The directory below the mount and its record, for the life of the object. Only we make it, and nobody may
/// list it, so that at no moment it looks like a volume. Throws MountFailure, also when files lie in it: what
/// somebody put there before the volume covered it would be hidden.
class MountDirectory {
public:
    explicit MountDirectory(const MountOrder& order);
    ~MountDirectory();
    MountDirectory(const MountDirectory&) = delete;
    MountDirectory& operator=(const MountDirectory&) = delete;

    /// Before mounting. fusermount3 mounts only where its user may write.
    void open() const;
    /// After mounting: the directory takes nothing any more.
    void close() const;

private:
    const MountOrder& order_;
    /// What stands below the mount, whatever covers it.
    FileDescriptor descriptor_;
};

} // namespace ternvault::volume
