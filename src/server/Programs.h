#pragma once

#include "server/Command.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace ternvault::server {

struct ProgramResult {
    /// Nothing when the program could not be started, was ended by a signal or took too long.
    std::optional<int> exitStatus;
    /// Standard output.
    std::string output;

    bool succeeded() const { return exitStatus == 0; }
};

/// Runs programs of the PC. Safe to use from several threads.
class Programs {
public:
    virtual ~Programs() = default;
    /// Runs `command` with `input` (4096 bytes at most) as its standard input and waits for its end; after
    /// `limit` the program is killed. One that even then does not end, because it waits for a dead disk,
    /// holds the caller.
    virtual ProgramResult run(const Command& command, std::string_view input,
                              std::chrono::milliseconds limit) = 0;
};

/// Programs as processes: without a shell, in a process group of their own, with this process's environment
/// and without its descriptors. Standard error is discarded, because it may name accounts.
class SystemPrograms : public Programs {
public:
    ProgramResult run(const Command& command, std::string_view input,
                      std::chrono::milliseconds limit) override;
};

} // namespace ternvault::server
