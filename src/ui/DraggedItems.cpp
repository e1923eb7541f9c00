#include "ui/DraggedItems.h"

#include <QMimeData>

#include <algorithm>
#include <utility>

namespace ternvault {

namespace {

/// A drag has all of its content with it.
class DraggedURL final : public ItemProvider {
public:
    explicit DraggedURL(QUrl url) : url_(std::move(url)) {}

    void load(const QString&, Completion completion) override {
        completion(url_.isLocalFile() ? Item(url_) : Item());
    }

private:
    QUrl url_;
};

} // namespace

bool holdsFileURLs(const QMimeData& dragged) {
    const QList<QUrl> urls = dragged.urls();
    return std::any_of(urls.begin(), urls.end(), [](const QUrl& url) { return url.isLocalFile(); });
}

std::vector<std::unique_ptr<ItemProvider>> itemProviders(const QMimeData& dragged) {
    std::vector<std::unique_ptr<ItemProvider>> items;
    for (const QUrl& url : dragged.urls())
        items.push_back(std::make_unique<DraggedURL>(url));
    return items;
}

} // namespace ternvault
