#pragma once

#include "server/Configuration.h"
#include "server/FolderProbe.h"
#include "server/Programs.h"

#include <memory>
#include <string>

namespace ternvault::server {

/// Gathers what the PC has. For one thread at a time.
class Inventory {
public:
    Inventory(std::shared_ptr<Programs> programs, const Configuration& configuration)
        : programs_(std::move(programs)), commands_(configuration.commands),
          samba_(configuration.sambaConfiguration) {}

    /// The PC's disks and shares as a JSON object. A share whose folder is missing or does not answer is left
    /// out. Takes long when a disk is dead. Throws Refusal, 500, when the PC's programs fail.
    std::string describe();

private:
    std::string outputOf(const Command& command);
    void report(const std::string& problems);

    std::shared_ptr<Programs> programs_;
    Commands commands_;
    std::string samba_;
    FolderProbe probe_;
    std::string reported_;
};

} // namespace ternvault::server
