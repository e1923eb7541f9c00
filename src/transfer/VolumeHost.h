#pragma once

#include "base/Task.h"

#include <QString>

namespace ternvault {

/// What the transfer queue asks of the application: a mounted volume.
class VolumeHost {
public:
    /// Mounts the volume if it is missing; whether one is mounted afterwards.
    virtual Task<bool> ensureMounted() = 0;
    /// The share that the user chose; may be empty.
    virtual QString preferredShare() const = 0;

protected:
    ~VolumeHost() = default;
};

} // namespace ternvault
