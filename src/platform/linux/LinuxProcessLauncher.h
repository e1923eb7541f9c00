#pragma once

#include "platform/ProcessLauncher.h"
#include "platform/linux/ProgramTable.h"

namespace ternvault {

/// Starts programs, or what the table has in their place.
class LinuxProcessLauncher final : public ProcessLauncher {
public:
    explicit LinuxProcessLauncher(ProgramTable programs) : programs_(std::move(programs)) {}

    ProcessResult run(const QString& program, const QStringList& arguments) override;
    /// A stand-in is this process, which holds the file anyway.
    ProcessResult runHolding(const FileDescriptor& held, const QString& program,
                             const QStringList& arguments) override;
    /// True for a stand-in.
    bool isExecutable(const QString& program) const override;

private:
    const ProgramTable programs_;
};

} // namespace ternvault
