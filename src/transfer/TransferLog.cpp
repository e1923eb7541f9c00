#include "transfer/TransferLog.h"

#include <QByteArray>
#include <QDateTime>

#include <chrono>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

std::optional<std::filesystem::path> logFile(const FileLocations& locations) {
    const std::optional<std::filesystem::path> support = locations.applicationSupport();
    if (!support)
        return std::nullopt;
    return *support / "Tern Vault" / "transfer.log";
}

QByteArray logLine(WallTime time, QString text) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
    const QString stamp = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(Qt::ISODate);
    text.replace(u'\n', u"\\n"_s).replace(u'\r', u"\\r"_s);
    return (u'[' + stamp + u"] "_s + text + u'\n').toUtf8();
}

} // namespace

TransferLog::TransferLog(const Platform& platform)
    : clock_(platform.clock), file_(logFile(platform.locations)) {
    if (!file_)
        return;
    try {
        platform.files.createDirectories(file_->parent_path());
    } catch (const std::system_error&) {
        // No folder, no log; transfers go on.
    }
}

void TransferLog::append(const QString& text) const {
    if (!file_)
        return;
    const int descriptor =
        ::open(file_->c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600);
    if (descriptor < 0)
        return;
    const QByteArray line = logLine(clock_.wallNow(), text);
    [[maybe_unused]] const ssize_t written =
        ::write(descriptor, line.constData(), static_cast<std::size_t>(line.size()));
    ::close(descriptor);
}

} // namespace ternvault
