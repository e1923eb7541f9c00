#include "platform/linux/DropItems.h"

#include "platform/linux/SelectionPasteboard.h"

#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

class DroppedFile final : public ItemProvider {
public:
    explicit DroppedFile(QUrl url) : url_(std::move(url)) {}

    void load(const QString& typeIdentifier, Completion completion) override {
        completion(typeIdentifier == "public.file-url"_L1 ? Item(url_) : Item());
    }

private:
    QUrl url_;
};

std::vector<QUrl> files(const QMimeData& data) {
    return filesInUriList(data.data(u"text/uri-list"_s));
}

} // namespace

bool holdsFiles(const QMimeData& drag) {
    return !files(drag).empty();
}

std::vector<std::unique_ptr<ItemProvider>> dropItems(const QMimeData& drop) {
    std::vector<std::unique_ptr<ItemProvider>> items;
    for (QUrl& url : files(drop))
        items.push_back(std::make_unique<DroppedFile>(std::move(url)));
    return items;
}

} // namespace ternvault
