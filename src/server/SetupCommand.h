#pragma once

namespace ternvault::server {

/// "mossbox-agent setup": `argv[0]` is "setup". Returns the exit status; throws std::exception when it
/// failed.
int runSetup(int argc, char** argv);

} // namespace ternvault::server
