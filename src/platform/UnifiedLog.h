#pragma once

#include <QString>

namespace ternvault {

/// The system's log. Best effort; returns at once; harmless where no log service runs. Any thread.
class UnifiedLog {
public:
    virtual ~UnifiedLog() = default;

    /// One message at error level. `subsystem` and `category` classify it, e.g. "space.larkspur.ternvault"
    /// and "transfer".
    virtual void error(const QString& subsystem, const QString& category, const QString& message) = 0;
};

} // namespace ternvault
