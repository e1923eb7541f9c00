#include "intake/DroppedFiles.h"

#include "base/Utf8.h"
#include "intake/FileUrls.h"

#include <mutex>
#include <optional>
#include <utility>

namespace ternvault {

namespace {

std::optional<QUrl> urlOf(const ItemProvider::Item& item) {
    if (const auto* const bytes = std::get_if<QByteArray>(&item)) {
        const std::optional<QString> text = decodeUtf8(*bytes);
        return text ? parseURL(*text) : std::nullopt;
    }
    const auto* const url = std::get_if<QUrl>(&item);
    return url != nullptr ? std::optional(*url) : std::nullopt;
}

/// What has come of one drop, and how many loads are still to complete.
class Collection {
public:
    Collection(std::size_t loads, MainLoop& mainLoop, std::function<void(std::vector<QUrl>)> handOver)
        : pending_(loads), mainLoop_(mainLoop), handOver_(std::move(handOver)) {}

    void complete(const ItemProvider::Item& item) {
        std::optional<QUrl> url = urlOf(item);
        const std::lock_guard lock(mutex_);
        if (url)
            urls_.push_back(*std::move(url));
        if (--pending_ == 0)
            finish();
    }
    /// Leaves nothing behind that would have to be destroyed on the main thread.
    void finish() {
        mainLoop_.post([handOver = std::move(handOver_), urls = std::move(urls_)] { handOver(urls); });
    }

private:
    std::mutex mutex_;
    std::vector<QUrl> urls_;
    std::size_t pending_;
    MainLoop& mainLoop_;
    std::function<void(std::vector<QUrl>)> handOver_;
};

} // namespace

bool handleDrop(const std::vector<std::unique_ptr<ItemProvider>>& providers, MainLoop& mainLoop,
                std::function<void(std::vector<QUrl>)> handOver) {
    const auto collection = std::make_shared<Collection>(providers.size(), mainLoop, std::move(handOver));
    if (providers.empty())
        collection->finish();
    for (const std::unique_ptr<ItemProvider>& provider : providers) {
        provider->load(fileURLType,
                       [collection](const ItemProvider::Item& item) { collection->complete(item); });
    }
    return true;
}

} // namespace ternvault
