#pragma once

#include "platform/FrontmostApplication.h"
#include "platform/ScriptHost.h"
#include "platform/linux/finder/FrontFolderWatch.h"
#include "platform/linux/finder/FrontWindow.h"

#include <filesystem>

namespace ternvault::finder {

/// Which application is in front on X11: "com.apple.finder" for the file managers known here, else its own
/// name. On the thread of the first question.
class X11FrontmostApplication final : public FrontmostApplication {
public:
    std::optional<QString> bundleIdentifier() const override;

private:
    mutable FrontWindow front_;
};

/// Stands in for the scripting of the file manager: it knows scripts that return the folder in the front
/// window, and answers with an empty text where that is not certain, or where a field that takes text has the
/// focus. Waits for nobody but a volume that hangs. On the thread of the first question; the watch outlives
/// it.
class FinderScripts final : public ScriptHost {
public:
    explicit FinderScripts(const FrontFolderWatch& watch) : watch_(watch) {}

    std::optional<QString> run(const QString& source) override;

private:
    std::optional<std::filesystem::path> frontFolder();

    const FrontFolderWatch& watch_;
    FrontWindow front_;
};

} // namespace ternvault::finder
