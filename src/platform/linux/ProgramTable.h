#pragma once

#include "platform/ProcessLauncher.h"

#include <QHash>

#include <functional>
#include <variant>

namespace ternvault {

/// Does inside this process what a program would do that this host does not have. Blocks; any thread; must
/// not throw.
using StandIn = std::function<ProcessResult(const QStringList& arguments)>;

/// What this host has for the programs that are started by their macOS path. Filled by the composition root
/// before the first launch, read-only afterwards.
class ProgramTable {
public:
    /// Another program by its absolute path, or a stand-in.
    using Entry = std::variant<QString, StandIn>;

    void substitute(const QString& program, const Entry& entry) { entries_.insert(program, entry); }
    /// A program without an entry is itself.
    Entry find(const QString& program) const { return entries_.value(program, program); }

private:
    QHash<QString, Entry> entries_;
};

} // namespace ternvault
