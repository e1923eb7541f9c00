#include "ui/DraggedItems.h"

#include "base/FileUrl.h"
#include "intake/FileUrls.h"

#include <QMimeData>

#include <utility>

namespace ternvault {

namespace {

/// A drag has all of its content with it.
class DraggedFile final : public ItemProvider {
public:
    explicit DraggedFile(QUrl url) : url_(std::move(url)) {}

    void load(const QString& typeIdentifier, Completion completion) override {
        completion(typeIdentifier == fileURLType ? Item(url_) : Item());
    }

private:
    QUrl url_;
};

} // namespace

std::vector<std::unique_ptr<ItemProvider>> itemProviders(const QMimeData& dragged) {
    std::vector<std::unique_ptr<ItemProvider>> items;
    for (const QUrl& url : dragged.urls()) {
        if (!url.scheme().isEmpty() && localPath(url))
            items.push_back(std::make_unique<DraggedFile>(url));
    }
    return items;
}

bool holdsFileURLs(const QMimeData& dragged) {
    return !itemProviders(dragged).empty();
}

} // namespace ternvault
