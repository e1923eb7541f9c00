#pragma once

#include "base/FileDescriptor.h"
#include "platform/UnifiedLog.h"

#include <string>

namespace ternvault {

/// The systemd journal, with the fields SUBSYSTEM and CATEGORY; the system log where no journal runs. Written
/// to their sockets and not through sd_journal_send(3) and syslog(3), which wait for a log service that
/// hangs: a message that cannot be taken at once is dropped.
class JournalLog final : public UnifiedLog {
public:
    explicit JournalLog(std::string journal = "/run/systemd/journal/socket",
                        std::string systemLog = "/dev/log");

    void error(const QString& subsystem, const QString& category, const QString& message) override;

private:
    bool send(const std::string& service, const QByteArray& datagram) const;

    const std::string journal_;
    const std::string systemLog_;
    FileDescriptor socket_;
};

} // namespace ternvault
