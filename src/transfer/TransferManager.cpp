#include "transfer/TransferManager.h"

#include "base/StandardizedPath.h"

#include <algorithm>
#include <utility>

namespace ternvault {

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace {

const QString& idleStatus() {
    static const QString text = u"Idle — use Add Files / Paste / Drop (not Finder)"_s;
    return text;
}

/// Last path component; "/" for the root.
std::string lastComponent(const fs::path& path) {
    return path.has_filename() ? path.filename().string() : path.string();
}

QString display(const std::string& name) {
    return QString::fromStdString(name);
}

} // namespace

QString TransferManager::Job::name() const {
    return display(relativePath);
}

fs::path TransferManager::Job::destination() const {
    return destRoot.string() + '/' + (folder / relativePath).string();
}

TransferManager::TransferManager(const Platform& platform)
    : isTransferring(*this), currentFileName(*this), completedCount(*this), totalCount(*this),
      errorCount(*this), lastError(*this), statusLine(*this, idleStatus()), waitingNote(*this),
      platform_(platform), volumes_(platform.files, platform.locations.volumesRoot()), transferLog_(platform),
      tasks_(platform.mainLoop, reportEscapes(platform.log)) {}

std::optional<fs::path> TransferManager::resolveMountRoot(const QString& preferredShare) const {
    std::vector<QString> names{defaultShareName, legacyVolumeName};
    if (!preferredShare.isEmpty())
        names.push_back(preferredShare);
    for (const QString& name : names) {
        if (volumes_.hasVolume(name))
            return volumes_.mountPoint(name);
    }
    return std::nullopt;
}

void TransferManager::enqueue(const std::vector<fs::path>& urls, const fs::path& destRoot,
                              const fs::path& folder) {
    if (urls.empty())
        return;
    cancelled_ = false;
    beginScoped(urls);
    std::int64_t queued = 0;
    for (const fs::path& url : urls) {
        if (std::optional<Job> job = makeJob(url, destRoot, folder)) {
            queue_.push_back(std::move(*job));
            ++queued;
        }
    }
    totalCount = totalCount + queued;
    statusLine = queued >= 1 ? u"Queued "_s + QString::number(queued) + u" item(s) — app rsync starting"_s
                             : u"Nothing to transfer"_s;
    appendLog(statusLine);
    startIfNeeded();
}

std::optional<TransferManager::Job> TransferManager::makeJob(const fs::path& url, const fs::path& destRoot,
                                                             const fs::path& folder) {
    const fs::path source = standardized(url);
    const std::string name = lastComponent(source);
    if (name == "lost+found") {
        logFailure(u"Skipped system folder: lost+found"_s);
        return std::nullopt;
    }
    if (!platform_.files.exists(source)) {
        logFailure(u"Missing: "_s + display(name));
        return std::nullopt;
    }
    return Job{source, destRoot, folder, name, platform_.files.isDirectory(source)};
}

void TransferManager::enqueue(std::vector<fs::path> urls) {
    tasks_.spawn(enqueueMounting(std::move(urls)));
}

Task<> TransferManager::enqueueMounting(std::vector<fs::path> urls) {
    if (appModel.get() == nullptr) {
        if (const std::optional<fs::path> root = resolveMountRoot(defaultShareName))
            enqueue(urls, *root);
        else
            refuse(u"Volume not mounted"_s, u"Mount Tern Vault first"_s);
        co_return;
    }
    const bool mounted = co_await appModel.get()->ensureMounted();
    const VolumeHost* const host = appModel.get();
    if (mounted && host != nullptr) {
        if (const std::optional<fs::path> root = resolveMountRoot(host->preferredShare())) {
            enqueue(urls, *root);
            co_return;
        }
    }
    const QString text = u"Volume not mounted — click Mount first"_s;
    refuse(text, text);
}

void TransferManager::refuse(const QString& error, const QString& status) {
    lastError = error;
    statusLine = status;
    appendLog(statusLine);
}

void TransferManager::startIfNeeded() {
    if (running_)
        return;
    running_ = true;
    isTransferring = true;
    ++activeLoops_;
    tasks_.spawn(processLoop());
}

void TransferManager::pickAndEnqueueFiles() {
    const FilePanelTexts texts{
        u"Copy to Tern Vault"_s,
        u"Tern Vault will copy these with its own transfer (rsync). Do not use Finder."_s};
    platform_.filePanel.show(texts, [weak = anchor_.weak()](std::optional<std::vector<fs::path>> chosen) {
        TransferManager* const manager = weak.get();
        if (manager != nullptr && chosen)
            manager->enqueue(std::move(*chosen));
    });
}

void TransferManager::cancel() {
    cancelled_ = true;
    queue_.clear();
    releaseScoped();
    statusLine = u"Cancelled"_s;
    isTransferring = false;
    running_ = false;
    currentFileName = QString();
}

void TransferManager::resetCounters() {
    if (isTransferring)
        return;
    completedCount = 0;
    totalCount = 0;
    errorCount = 0;
    lastError = std::nullopt;
    statusLine = idleStatus();
}

QString TransferManager::progressLabel() const {
    if (!isTransferring && totalCount == 0)
        return u"No transfers"_s;
    QString label = QString::number(completedCount) + u'/' + QString::number(totalCount);
    if (errorCount >= 1)
        label += u" · "_s + QString::number(errorCount) + u" error(s)"_s;
    return label;
}

std::vector<QString> TransferManager::waitingNames(std::size_t most) const {
    std::vector<QString> names;
    for (std::size_t index = 0; index < std::min(most, queue_.size()); ++index)
        names.push_back(queue_[index].name());
    return names;
}

void TransferManager::beginScoped(const std::vector<fs::path>& urls) {
    for (const fs::path& url : urls) {
        if (platform_.securityScope.begin(url))
            scopedURLs_.push_back(url);
    }
}

void TransferManager::releaseScoped() {
    for (const fs::path& url : scopedURLs_)
        platform_.securityScope.end(url);
    scopedURLs_.clear();
}

} // namespace ternvault
