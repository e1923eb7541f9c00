#include "intake/PasteboardURLs.h"

#include "base/FileUrl.h"
#include "base/StandardizedPath.h"
#include "base/Utf8.h"
#include "intake/FileUrls.h"

#include <QStringList>

#include <algorithm>
#include <filesystem>
#include <set>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

bool isTextList(const QVariantList& list) {
    return std::all_of(list.begin(), list.end(), [](const QVariant& entry) {
        return entry.metaType() == QMetaType::fromType<QString>();
    });
}

std::vector<QUrl> listedFiles(const QVariant& propertyList) {
    const QVariantList list = propertyList.toList();
    if (!isTextList(list))
        return {};
    std::vector<QUrl> urls;
    for (const QVariant& path : list)
        urls.push_back(fileURL(path.toString()));
    return urls;
}

bool isHexDigit(QChar character) {
    return (character >= u'0' && character <= u'9') ||
           (character.toLower() >= u'a' && character.toLower() <= u'f');
}

/// Nothing where an escape is broken, or where the bytes are no text.
std::optional<QString> withoutPercentEscapes(const QString& text) {
    for (qsizetype at = text.indexOf(u'%'); at >= 0; at = text.indexOf(u'%', at + 1)) {
        if (at + 2 >= text.size() || !isHexDigit(text[at + 1]) || !isHexDigit(text[at + 2]))
            return std::nullopt;
    }
    return decodeUtf8(QByteArray::fromPercentEncoding(text.toUtf8()));
}

std::optional<QUrl> fileOfItem(const QString& text) {
    if (std::optional<QUrl> url = parseURL(text))
        return url;
    if (!text.startsWith("file:"_L1))
        return std::nullopt;
    const QString path = text.mid(qsizetype(sizeof "file://") - 1);
    return fileURL(withoutPercentEscapes(path).value_or(path));
}

std::vector<QUrl> candidates(const Pasteboard& pasteboard) {
    std::vector<QUrl> urls = pasteboard.fileURLs();
    const std::vector<QUrl> listed = listedFiles(pasteboard.propertyList(u"NSFilenamesPboardType"_s));
    urls.insert(urls.end(), listed.begin(), listed.end());
    for (const std::optional<QString>& text : pasteboard.itemTexts(fileURLType)) {
        const std::optional<QUrl> url = text ? fileOfItem(*text) : std::nullopt;
        if (url)
            urls.push_back(*url);
    }
    return urls;
}

} // namespace

std::vector<QUrl> fileURLsFromPasteboard(const Pasteboard& pasteboard, const FileManager& files) {
    std::vector<QUrl> existing;
    std::set<fs::path> seen;
    for (const QUrl& url : candidates(pasteboard)) {
        const fs::path path = standardized(localPath(url).value_or(fs::path()));
        if (!path.empty() && seen.insert(path).second && files.exists(path))
            existing.push_back(url);
    }
    return existing;
}

} // namespace ternvault
