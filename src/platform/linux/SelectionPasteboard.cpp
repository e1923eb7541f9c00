#include "platform/linux/SelectionPasteboard.h"

#include "base/FileUrl.h"
#include "base/Utf8.h"

#include <QStringList>

#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1String uriListFormat("text/uri-list");
constexpr QLatin1String gnomeFormat("x-special/gnome-copied-files");

/// Lines end in any way, and PCManFM's last one with a zero byte.
QList<QByteArray> lines(QByteArray content) {
    return content.replace('\r', '\n').replace('\0', '\n').split('\n');
}

/// The list below the verb. Nothing below any other word: no one knows what it would mean.
QByteArray gnomeUriList(const QByteArray& content) {
    const QList<QByteArray> all = lines(content);
    const bool isKnown = all.front() == "copy" || all.front() == "cut";
    return isKnown ? all.sliced(1).join('\n') : QByteArray();
}

} // namespace

std::vector<QUrl> filesInUriList(const QByteArray& uriList) {
    std::vector<QUrl> urls;
    for (const QByteArray& line : lines(uriList)) {
        QUrl url = QUrl::fromEncoded(line);
        if (!url.scheme().isEmpty() && localPath(url))
            urls.push_back(std::move(url));
    }
    return urls;
}

std::vector<QUrl> SelectionPasteboard::fileURLs() const {
    return filesInUriList(content(uriListFormat));
}

QVariant SelectionPasteboard::propertyList(const QString& type) const {
    if (type != "NSFilenamesPboardType"_L1)
        return {};
    QStringList names;
    for (const QUrl& url : filesInUriList(gnomeUriList(content(gnomeFormat)))) {
        if (const auto name = decodeUtf8(QByteArray::fromStdString(localPath(url)->native())))
            names.push_back(*name);
    }
    return names;
}

std::vector<std::optional<QString>> SelectionPasteboard::itemTexts(const QString& type) const {
    std::vector<std::optional<QString>> texts;
    if (type == "public.file-url"_L1) {
        for (const QUrl& url : fileURLs())
            texts.push_back(QString::fromLatin1(url.toEncoded()));
    }
    return texts;
}

bool SelectionPasteboard::holdsFileURLs() const {
    return !filesInUriList(content(uriListFormat)).empty() ||
           !filesInUriList(gnomeUriList(content(gnomeFormat))).empty();
}

} // namespace ternvault
