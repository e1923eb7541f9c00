#pragma once

#include "platform/FrontmostApplication.h"
#include "platform/ScriptHost.h"
#include "platform/linux/finder/FrontFolderWatch.h"
#include "platform/linux/finder/FrontWindow.h"

#include <filesystem>

namespace ternvault::finder {

/// Which application is in front on X11: "com.apple.finder" for the file managers known here, else its own
/// name. On the thread of `front`, which outlives it.
class X11FrontmostApplication final : public FrontmostApplication {
public:
    explicit X11FrontmostApplication(FrontWindow& front) : front_(front) {}

    std::optional<QString> bundleIdentifier() const override;

private:
    FrontWindow& front_;
};

/// Stands in for the scripting of the file manager: it knows scripts that return the folder in the front
/// window, and answers with an empty text where that is not certain, or where a field that takes text has the
/// focus. Waits for nobody but a volume that hangs. On the thread of `front`; both that it is given outlive
/// it.
class FinderScripts final : public ScriptHost {
public:
    FinderScripts(const FrontFolderWatch& watch, FrontWindow& front) : watch_(watch), front_(front) {}

    std::optional<QString> run(const QString& source) override;

private:
    std::optional<std::filesystem::path> frontFolder();

    const FrontFolderWatch& watch_;
    FrontWindow& front_;
};

} // namespace ternvault::finder
