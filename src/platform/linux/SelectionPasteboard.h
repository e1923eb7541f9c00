#pragma once

#include "platform/Pasteboard.h"

#include <QByteArray>

namespace ternvault {

/// The files of a `text/uri-list`; what else is in it (comments, places on the network, other PCs) is left
/// out. Tolerates signs that are not escaped and any kind of line end. Any thread.
std::vector<QUrl> filesInUriList(const QByteArray& uriList);

/// A pasteboard over what file managers put into a selection; how the bytes are fetched is left to the
/// derived class. A cut selection counts like a copied one, because its files are copied and stay where they
/// are; so KDE's mark of a cut, `application/x-kde-cutselection`, need not be read.
class SelectionPasteboard : public Pasteboard {
public:
    /// From `text/uri-list`.
    std::vector<QUrl> fileURLs() const final;
    /// File names from `x-special/gnome-copied-files`.
    QVariant propertyList(const QString& type) const final;
    /// The same URLs as `fileURLs`, well-formed however the file manager wrote them.
    std::vector<std::optional<QString>> itemTexts(const QString& type) const final;
    bool holdsFileURLs() const final;

protected:
    /// The selection in a format; empty when it does not have it.
    virtual QByteArray content(const QString& mimeType) const = 0;
};

} // namespace ternvault
