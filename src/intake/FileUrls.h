#pragma once

#include <QString>
#include <QUrl>

#include <filesystem>
#include <optional>
#include <vector>

namespace ternvault {

/// Type of an item that is a file, on pasteboards and in drops.
inline const QString fileURLType = QStringLiteral("public.file-url");

/// The URL that a text is, by the letter of the standard; nothing when it is none.
std::optional<QUrl> parseURL(const QString& text);

/// The paths for the queue. A URL that is no file of this PC becomes its own text, so that the queue reports
/// it as missing under its last component.
std::vector<std::filesystem::path> queuePaths(const std::vector<QUrl>& urls);

} // namespace ternvault
