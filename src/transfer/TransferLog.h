#pragma once

#include "platform/Platform.h"

#include <QString>

#include <filesystem>
#include <optional>

namespace ternvault {

/// The transfer log: one line per entry, "[2026-08-05T14:03:27Z] text", UTC, UTF-8, only ever appended to.
/// Best effort: failures are ignored. Line breaks inside an entry are written as \n and \r, so that a line
/// stays an entry whatever a file is called.
class TransferLog {
public:
    /// Creates the folder of the log.
    explicit TransferLog(const Platform& platform);

    /// Nothing where the system knows no folder for application data; entries are dropped then.
    const std::optional<std::filesystem::path>& file() const { return file_; }
    void append(const QString& text) const;

private:
    const Clock& clock_;
    std::optional<std::filesystem::path> file_;
};

} // namespace ternvault
