#include "platform/linux/JournalLog.h"

#include <QtEndian>

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace ternvault {

namespace {

/// The journal's form of a value that may have line breaks: name, line feed, length, value, line feed.
QByteArray field(const char* name, const QByteArray& value) {
    const quint64 length = qToLittleEndian(static_cast<quint64>(value.size()));
    QByteArray encoded(name);
    encoded += '\n';
    encoded.append(reinterpret_cast<const char*>(&length), sizeof length);
    return encoded + value + '\n';
}

} // namespace

JournalLog::JournalLog(std::string journal, std::string systemLog)
    : journal_(std::move(journal)), systemLog_(std::move(systemLog)),
      socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

void JournalLog::error(const QString& subsystem, const QString& category, const QString& message) {
    const QByteArray text = message.toUtf8();
    const QByteArray from = subsystem.toUtf8();
    const QByteArray about = category.toUtf8();
    const QByteArray entry = field("MESSAGE", text) + field("PRIORITY", QByteArray::number(LOG_ERR)) +
                             field("SUBSYSTEM", from) + field("CATEGORY", about) +
                             field("SYSLOG_IDENTIFIER", "ternvault");
    if (!send(journal_, entry))
        send(systemLog_, '<' + QByteArray::number(LOG_USER | LOG_ERR) + ">ternvault: [" + from + ':' + about +
                             "] " + text);
}

/// False where no such service runs.
bool JournalLog::send(const std::string& service, const QByteArray& datagram) const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    service.copy(address.sun_path, sizeof address.sun_path - 1);
    const ssize_t sent =
        ::sendto(socket_.get(), datagram.data(), static_cast<std::size_t>(datagram.size()),
                 MSG_DONTWAIT | MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return sent >= 0 || (errno != ENOENT && errno != ECONNREFUSED);
}

} // namespace ternvault
