#pragma once

#include <QString>
#include <QUrl>
#include <QVariant>

#include <optional>
#include <vector>

namespace ternvault {

/// What the user copied last, as far as it is files. Plain text is never files. An object is used by one
/// thread; the one in Platform by the main thread.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    /// What can be delivered as URL objects, file URLs only.
    virtual std::vector<QUrl> fileURLs() const = 0;
    /// The property list kept under a type such as "NSFilenamesPboardType"; null when there is none.
    virtual QVariant propertyList(const QString& type) const = 0;
    /// For each item its text of a type such as "public.file-url", where it has one.
    virtual std::vector<std::optional<QString>> itemTexts(const QString& type) const = 0;
    /// Whether there is any file URL at all, existing or not.
    virtual bool holdsFileURLs() const = 0;
};

} // namespace ternvault
