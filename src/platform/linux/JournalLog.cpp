#include "platform/linux/JournalLog.h"

// The place in the source tells a reader of the journal nothing.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include <syslog.h>
#include <unistd.h>

namespace ternvault {

void JournalLog::error(const QString& subsystem, const QString& category, const QString& message) {
    const QByteArray text = message.toUtf8();
    const QByteArray from = subsystem.toUtf8();
    const QByteArray about = category.toUtf8();
    // sd_journal_send(3) reports success where no journal runs.
    if (::access("/run/systemd/journal/socket", F_OK) == 0)
        sd_journal_send("MESSAGE=%s", text.constData(), "PRIORITY=%i", LOG_ERR, "SUBSYSTEM=%s",
                        from.constData(), "CATEGORY=%s", about.constData(), nullptr);
    else
        ::syslog(LOG_USER | LOG_ERR, "[%s:%s] %s", from.constData(), about.constData(), text.constData());
}

} // namespace ternvault
