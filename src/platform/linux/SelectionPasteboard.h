#pragma once

#include "platform/Pasteboard.h"

#include <QByteArray>

namespace ternvault {

/// The file URLs of a `text/uri-list`, as tolerant as file managers are careless: blanks and signs that are
/// not escaped, names that are no UTF-8, any kind of line end.
std::vector<QUrl> filesInUriList(const QByteArray& uriList);

/// A pasteboard over what file managers put into a selection; how the bytes are fetched is left to the
/// derived class. A cut selection counts like a copied one: its files are copied and stay where they are.
class SelectionPasteboard : public Pasteboard {
public:
    /// From `text/uri-list`.
    std::vector<QUrl> fileURLs() const final;
    /// File names from `x-special/gnome-copied-files`.
    QVariant propertyList(const QString& type) const final;
    /// The entries of `text/uri-list` as they are written.
    std::vector<std::optional<QString>> itemTexts(const QString& type) const final;
    bool holdsFileURLs() const final;

protected:
    /// The selection in a format; empty when it does not have it.
    virtual QByteArray content(const QString& mimeType) const = 0;
};

} // namespace ternvault
