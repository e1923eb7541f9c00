#include "intake/FileUrls.h"

#include "base/FileUrl.h"

namespace ternvault {

namespace fs = std::filesystem;

std::optional<QUrl> parseURL(const QString& text) {
    QUrl url(text, QUrl::StrictMode);
    return url.isValid() ? std::optional(std::move(url)) : std::nullopt;
}

std::vector<fs::path> queuePaths(const std::vector<QUrl>& urls) {
    std::vector<fs::path> paths;
    paths.reserve(urls.size());
    for (const QUrl& url : urls)
        paths.push_back(localPath(url).value_or(url.toString().toStdString()));
    return paths;
}

} // namespace ternvault
