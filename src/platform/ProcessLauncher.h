#pragma once

#include "base/FileDescriptor.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace ternvault {

/// How an external program ended.
struct ProcessResult {
    /// Description of the platform's error when the program could not be started at all; the other fields
    /// then mean nothing.
    std::optional<QString> startError;
    /// Exit status, or the number of the signal that ended the program (never 0 then).
    int exitStatus = 0;
    QByteArray standardOutput;
    QByteArray standardError;

    bool succeeded() const { return !startError && exitStatus == 0; }
};

/// Starts external programs by absolute path with an argument vector, never through a shell.
class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;

    /// Runs the program to its end, both output streams captured in full; standard input, environment and
    /// working directory are the caller's own. Blocks; any thread.
    virtual ProcessResult run(const QString& program, const QStringList& arguments) = 0;
    /// The same. The program, and what it starts, hold the open file `held` until they end, whoever ends
    /// before.
    virtual ProcessResult runHolding(const FileDescriptor& held, const QString& program,
                                     const QStringList& arguments) = 0;
    /// Whether `run` would find an executable program at that path. Any thread.
    virtual bool isExecutable(const QString& program) const = 0;
};

} // namespace ternvault
