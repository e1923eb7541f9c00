#pragma once

#include "server/Agent.h"
#include "server/ConnectionDeadlines.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct MHD_Daemon;

namespace ternvault::server {

/// Lets clients reach an agent over HTTP from its construction to its destruction, which waits for requests
/// in work. One request per connection; each has a thread, and limits on number, memory and time keep slow or
/// hostile clients from taking the others' place.
class HttpServer {
public:
    /// Listens on numeric addresses. Throws std::runtime_error that names the address at fault; one of a
    /// family that this PC does not have is skipped as long as another remains.
    HttpServer(Agent& agent, const std::vector<std::string>& addresses, std::uint16_t port);

private:
    struct StopDaemon {
        void operator()(MHD_Daemon* daemon) const;
    };

    Agent& agent_;
    ConnectionDeadlines deadlines_;
    /// One per address; they end first.
    std::vector<std::unique_ptr<MHD_Daemon, StopDaemon>> daemons_;

    friend struct Callbacks;
};

} // namespace ternvault::server
