#include "base/FileUrl.h"
#include "intake/PasteboardURLs.h"
#include "platform/linux/SelectionPasteboard.h"
#include "support/FakePlatform.h"

#include "Fuzzing.h"

namespace {

using namespace ternvault;

/// One that offers the same bytes in every format.
struct Selection : SelectionPasteboard {
    explicit Selection(QByteArray content) : bytes(std::move(content)) {}
    QByteArray content(const QString&) const override { return bytes; }
    QByteArray bytes;
};

} // namespace

/// All that comes out is a file of this PC, is the same one when it is read again, and comes once.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Selection selection(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    for (const QUrl& url : selection.fileURLs()) {
        const std::optional<std::filesystem::path> path = localPath(url);
        require(path && path->is_absolute());
        const std::vector<QUrl> again = filesInUriList(url.toEncoded());
        require(again.size() == 1 && localPath(again.front()) == path);
    }
    std::set<std::filesystem::path> seen;
    for (const QUrl& url : fileURLsFromPasteboard(selection, test::AnyFileExists()))
        require(seen.insert(localPath(url).value()).second);
    require(seen.empty() || selection.holdsFileURLs());
    return 0;
}
