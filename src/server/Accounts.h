#pragma once

#include "server/Configuration.h"
#include "server/Programs.h"
#include "server/Requests.h"
#include "server/TimedMutex.h"

#include <chrono>
#include <memory>

namespace ternvault::server {

/// Creates accounts of the PC that serve for nothing but its shares: a system user without a shell, and
/// Samba's password for it. Safe to use from several threads; accounts are made one after another.
class Accounts {
public:
    Accounts(std::shared_ptr<Programs> programs, const Configuration& configuration)
        : programs_(std::move(programs)), commands_(configuration.commands),
          samba_(configuration.sambaConfiguration) {}

    /// Throws Refusal: 400 for a name or a password that the rules forbid, 409 when the PC has a user of this
    /// name already (who stays untouched), 500 when it failed, 503 when others keep it busy. Ends before a
    /// client gives up; taking back what a failure left takes up to 20 seconds more.
    void create(const NewAccount& account);

private:
    ProgramResult run(const Command& command, const std::string& name, std::string_view input,
                      std::chrono::milliseconds limit);
    void takeBack(const std::string& name);

    std::shared_ptr<Programs> programs_;
    Commands commands_;
    std::string samba_;
    TimedMutex oneAtATime_;
};

} // namespace ternvault::server
