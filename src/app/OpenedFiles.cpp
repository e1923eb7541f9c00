#include "app/OpenedFiles.h"

#include <utility>

namespace ternvault {

void OpenedFiles::open(const std::vector<QUrl>& urls, TaskScope& tasks) {
    const auto round = std::make_shared<Round>(Round{urls.size()});
    for (const QUrl& url : urls)
        tasks.spawn(take(url, round));
}

Task<> OpenedFiles::take(QUrl url, std::shared_ptr<Round> round) {
    std::vector<QUrl> urls{url};
    Task<> taking = model_.handleIncomingFileURLs(std::move(urls));
    co_await std::move(taking);
    ++round->over;
    round->queued += model_.mountedVolumeName->has_value() ? 1 : 0;
    if (round->over < round->count)
        co_return;
    Task<> telling = notice_.tell(outcome(*round));
    co_await std::move(telling);
}

/// The model's status is of the last one.
QString OpenedFiles::outcome(const Round& round) const {
    const auto root = model_.transfers.resolveMountRoot(model_.selectedShare);
    return root && round.queued == round.count ? AppModel::queuedMessage(round.count, *root) : *model_.status;
}

} // namespace ternvault
