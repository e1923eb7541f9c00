#pragma once

#include <QString>

#include <string>
#include <variant>
#include <vector>

namespace ternvault::cli {

enum class Verb {
    acceptLegal,
    disks,
    setup,
    reset,
    status,
    mount,
    eject,
    copy,
    log,
    autoconnect,
    desktopIcon,
    set,
    get
};

struct Command {
    Verb verb;
    /// As given, in bytes: file names need not be text.
    std::vector<std::string> arguments;
};

/// Text to print instead of doing anything: help or version, or a complaint about the command line.
struct Notice {
    QString text;
    bool isError;
};

/// Reads the arguments behind the program's name.
std::variant<Command, Notice> parseCommandLine(const std::vector<std::string>& arguments);

} // namespace ternvault::cli
