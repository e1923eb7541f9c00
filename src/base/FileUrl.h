#pragma once

#include <QByteArray>
#include <QString>
#include <QSysInfo>
#include <QUrl>

#include <filesystem>
#include <optional>

namespace ternvault {

/// URL of a path that has nothing escaped.
inline QUrl fileURL(const QString& path) {
    QUrl url;
    url.setScheme(QStringLiteral("file"));
    url.setHost(QStringLiteral("")); // so that two slashes at the start do not begin a host
    url.setPath(path, QUrl::DecodedMode);
    return url;
}

/// Programs may name this PC in their URLs.
inline bool namesThisPC(const QString& host) {
    return host.isEmpty() || host == QLatin1String("localhost") ||
           host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
}

/// The absolute path of a file of this PC, byte for byte also where a name is no UTF-8; nothing for another
/// PC's file and for any other kind of URL. A bare absolute path counts as a file's URL. Of a URL that is not
/// valid, as with a host that cannot be one, Qt keeps the rest.
inline std::optional<std::filesystem::path> localPath(const QUrl& url) {
    const bool isFile = url.scheme() == QLatin1String("file") || url.scheme().isEmpty();
    const QByteArray path = QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1());
    if (!url.isValid() || !isFile || !namesThisPC(url.host()) || !path.startsWith('/') || path.contains('\0'))
        return std::nullopt;
    return path.toStdString();
}

} // namespace ternvault
