#pragma once

#include "platform/Workspace.h"

namespace ternvault {

/// The desktop's own file manager and browser, through xdg-open. Does nothing without a display: xdg-open
/// would then look for a program that takes over the terminal.
class DesktopWorkspace final : public Workspace {
public:
    void openFolder(const std::filesystem::path& folder) override;
    void openURL(const QUrl& url) override;
};

} // namespace ternvault
