#pragma once

#include "platform/UnifiedLog.h"

namespace ternvault {

/// The systemd journal, with the fields SUBSYSTEM and CATEGORY; the system log where no journal runs.
class JournalLog final : public UnifiedLog {
public:
    void error(const QString& subsystem, const QString& category, const QString& message) override;
};

} // namespace ternvault
