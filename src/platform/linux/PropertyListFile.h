#pragma once

#include "platform/linux/DurableFile.h"

#include <QString>
#include <QVariantMap>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>

#include <sys/types.h>

namespace ternvault {

/// A dictionary kept in an XML property list that several processes share: every change locks, reads afresh,
/// changes what it is about and replaces the file, so that none loses another's changes and a process killed
/// at any moment leaves the old or the new content. One thread at a time.
///
/// A damaged file is set aside as NAME.damaged-TIME before anything else is written. An empty one is not: it
/// holds nothing that could be saved. One that cannot be read is never replaced.
class PropertyListFile {
public:
    /// Told of each problem in words for the user, once as long as it lasts.
    using Report = std::function<void(const QString& problem)>;

    /// A symbolic link is followed, so that it survives the replacing. An empty path stands for no file:
    /// there are no values, and none can be stored.
    PropertyListFile(const std::filesystem::path& file, Report report);

    /// What the file holds now. Reads it again only when it has changed.
    const QVariantMap& values();
    /// Lets `change` alter what the file holds; writes nothing when it alters nothing. False when the altered
    /// values could not be stored.
    bool update(const std::function<void(QVariantMap& values)>& change);

    /// Whether the last look at the file told what it holds.
    bool isReadable() const { return isReadable_; }

private:
    enum class Content { known, damaged, unreadable };

    /// Tells one state of the file from another; as initialised when there is none.
    struct Stamp {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = 0;
        std::int64_t modifiedNanoseconds = 0;
        bool operator==(const Stamp&) const = default;
    };

    Stamp currentStamp() const;
    std::optional<FileLock> lock();
    Content load();
    /// Under the lock. False when the file must not be replaced.
    bool loadForWriting();
    bool setAside();
    bool report(const QString& problem);

    std::filesystem::path file_;
    Report onProblem_;
    QVariantMap values_;
    Stamp loaded_;
    bool isReadable_ = true;
    QString damage_;
    QString lastProblem_;
};

} // namespace ternvault
