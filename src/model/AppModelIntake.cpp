#include "intake/FileUrls.h"
#include "intake/PasteboardURLs.h"
#include "model/AppModel.h"

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

/// The way from the root to a folder below it; empty for any other.
fs::path wayBelow(const fs::path& root, const fs::path& folder) {
    const fs::path way = folder.lexically_relative(root);
    return way.empty() || way == "." || *way.begin() == ".." ? fs::path() : way;
}

} // namespace

Task<> AppModel::queueFiles(std::vector<QUrl> urls, fs::path shownFolder) {
    if (urls.empty())
        co_return;
    const bool mounted = co_await ensureMounted();
    if (mounted) {
        if (const std::optional<fs::path> root = transfers.resolveMountRoot(selectedShare)) {
            transfers.enqueue(queuePaths(urls), *root, wayBelow(*root, shownFolder));
            status = queuedMessage(urls.size(), *root);
            co_return;
        }
    }
    status = u"Mount failed — cannot transfer"_s;
    transfers.lastError = u"Volume not mounted"_s;
}

QString AppModel::queuedMessage(std::size_t count, const fs::path& root) {
    return u"Queued "_s + QString::number(count) + u" item(s) → "_s + QString::fromStdString(root.string());
}

Task<> AppModel::pasteFromClipboardInto(fs::path folder) {
    std::vector<QUrl> urls = fileURLsFromPasteboard();
    if (urls.empty()) {
        status = u"Clipboard has no files — copy files in Finder first, then paste HERE in Tern Vault"_s;
        transfers.lastError = *status;
        co_return;
    }
    platform_.activation.activate();
    status = u"App paste: "_s + QString::number(urls.size()) + u" item(s) — rsync (not Finder)"_s;
    co_await queueFiles(std::move(urls), std::move(folder));
}

std::vector<QUrl> AppModel::fileURLsFromPasteboard() const {
    return ternvault::fileURLsFromPasteboard(platform_.pasteboard, platform_.files);
}

} // namespace ternvault
