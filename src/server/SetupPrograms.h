#pragma once

#include <chrono>

namespace ternvault::server {

/// Programs of Debian that prepare the PC.
constexpr auto smbdProgram = "/usr/sbin/smbd";
constexpr auto testparmProgram = "/usr/bin/testparm";
constexpr auto smbpasswdProgram = "/usr/bin/smbpasswd";
constexpr auto groupaddProgram = "/usr/sbin/groupadd";
constexpr auto systemctlProgram = "/usr/bin/systemctl";

/// As long as a service may take to start.
constexpr std::chrono::seconds programPatience{100};

} // namespace ternvault::server
