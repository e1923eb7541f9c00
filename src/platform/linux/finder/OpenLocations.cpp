#include "platform/linux/finder/OpenLocations.h"

#include "base/FileUrl.h"
#include "base/StandardizedPath.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QMap>
#include <QStringList>
#include <QUrl>

namespace ternvault::finder {

using namespace Qt::StringLiterals;

std::optional<std::vector<std::filesystem::path>>
openLocations(const QString& busName, const QString& windowPath,
              std::chrono::steady_clock::time_point deadline) {
    std::vector<std::filesystem::path> folders;
    const auto patience =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (busName.isEmpty() || windowPath.isEmpty() || patience.count() <= 0)
        return folders;
    QDBusMessage question = QDBusMessage::createMethodCall(busName, u"/org/freedesktop/FileManager1"_s,
                                                           u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    question << u"org.freedesktop.FileManager1"_s << u"OpenWindowsWithLocations"_s;
    const QDBusMessage answer =
        QDBusConnection::sessionBus().call(question, QDBus::Block, int(patience.count()));
    if (answer.type() != QDBusMessage::ReplyMessage)
        return folders;
    const QVariant windows = qvariant_cast<QDBusVariant>(answer.arguments().value(0)).variant();
    for (const QString& url : qdbus_cast<QMap<QString, QStringList>>(windows).value(windowPath)) {
        const auto folder = localPath(QUrl(url));
        if (!folder)
            return std::nullopt;
        folders.push_back(standardized(*folder));
    }
    return folders;
}

} // namespace ternvault::finder
