#pragma once

#include <QUrl>

#include <filesystem>

namespace ternvault {

/// What the desktop does for the user on request.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Shows a folder in the file manager. Does not wait; failures are ignored. Main thread.
    virtual void openFolder(const std::filesystem::path& folder) = 0;
    /// Shows an address in the user's browser. Does not wait; failures are ignored. Main thread.
    virtual void openURL(const QUrl& url) = 0;
};

} // namespace ternvault
