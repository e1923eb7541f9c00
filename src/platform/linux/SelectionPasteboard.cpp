#include "platform/linux/SelectionPasteboard.h"

#include <QStringList>

#include <algorithm>
#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr QLatin1String uriListFormat("text/uri-list");
constexpr QLatin1String gnomeFormat("x-special/gnome-copied-files");

/// Lines end in any way, and some programs count the zero byte at the end as content.
QList<QByteArray> lines(QByteArray content) {
    content.replace('\r', '\n').replace('\0', '\n');
    QList<QByteArray> lines = content.split('\n');
    lines.removeIf([](const QByteArray& line) { return line.isEmpty(); });
    return lines;
}

/// Everything else in a list is a comment or a place on the network.
QList<QByteArray> fileLines(const QByteArray& content) {
    QList<QByteArray> result = lines(content);
    result.removeIf([](const QByteArray& line) { return !line.toLower().startsWith("file:"); });
    return result;
}

/// The list below the verb. Nothing below any other word: no one knows what it would mean.
QByteArray gnomeUriList(const QByteArray& content) {
    const QList<QByteArray> all = lines(content);
    const bool isKnown = !all.isEmpty() && (all.front() == "copy" || all.front() == "cut");
    return isKnown ? all.sliced(1).join('\n') : QByteArray();
}

} // namespace

std::vector<QUrl> filesInUriList(const QByteArray& uriList) {
    std::vector<QUrl> urls;
    for (const QByteArray& line : fileLines(uriList)) {
        const QUrl url = QUrl::fromEncoded(line);
        if (url.isLocalFile())
            urls.push_back(url);
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
    for (const QUrl& url : filesInUriList(gnomeUriList(content(gnomeFormat))))
        names.push_back(url.toLocalFile());
    return names;
}

std::vector<std::optional<QString>> SelectionPasteboard::itemTexts(const QString& type) const {
    std::vector<std::optional<QString>> texts;
    if (type == "public.file-url"_L1) {
        for (const QByteArray& line : fileLines(content(uriListFormat)))
            texts.push_back(QString::fromUtf8(line));
    }
    return texts;
}

bool SelectionPasteboard::holdsFileURLs() const {
    return !fileLines(content(uriListFormat)).isEmpty() ||
           !fileLines(gnomeUriList(content(gnomeFormat))).isEmpty();
}

} // namespace ternvault
