#include "intake/FileUrls.h"

#include <QSysInfo>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

/// File managers may name this PC in their URLs.
bool isThisPC(const QString& host) {
    return host.isEmpty() || host == "localhost"_L1 ||
           host.compare(QSysInfo::machineHostName(), Qt::CaseInsensitive) == 0;
}

bool isFile(const QUrl& url) {
    return url.scheme() == "file"_L1 || (url.isRelative() && url.path().startsWith(u'/'));
}

} // namespace

std::optional<QUrl> parseURL(const QString& text) {
    QUrl url(text, QUrl::StrictMode);
    return url.isValid() ? std::optional(std::move(url)) : std::nullopt;
}

QUrl fileURL(const QString& path) {
    QUrl url;
    url.setScheme(u"file"_s);
    url.setPath(path, QUrl::DecodedMode);
    return url;
}

std::optional<fs::path> localPath(const QUrl& url) {
    if (!isFile(url) || !isThisPC(url.host()))
        return std::nullopt;
    // Names that are no UTF-8 exist only in the encoded form.
    return QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()).toStdString();
}

std::vector<fs::path> queuePaths(const std::vector<QUrl>& urls) {
    std::vector<fs::path> paths;
    paths.reserve(urls.size());
    for (const QUrl& url : urls)
        paths.push_back(localPath(url).value_or(url.toString().toStdString()));
    return paths;
}

} // namespace ternvault
