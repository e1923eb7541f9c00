#pragma once

#include <QString>
#include <QUrl>

#include <string>
#include <vector>

namespace ternvault {

/// What the command line asks for. Options that are not known change nothing; "--auto-mount", with which the
/// login entry starts the application, is one of them.
struct CommandLine {
    bool wantsHelp = false;
    bool wantsVersion = false;
    /// Started by the session bus, which says in a moment what for.
    bool isBusStart = false;
    /// One of the desktop entry's actions, or empty: "paste", "add-files".
    QString action;
    /// Files to take, absolute.
    std::vector<QUrl> urls;
};

/// `arguments` without the program's name, in bytes: file names need not be text.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

} // namespace ternvault
