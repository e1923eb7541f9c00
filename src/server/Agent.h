#pragma once

#include "server/Accounts.h"
#include "server/DiskListing.h"
#include "server/Requests.h"

#include <memory>
#include <string>
#include <string_view>

namespace ternvault::server {

struct Answer {
    unsigned status = 200;
    /// JSON.
    std::string body;
};

Answer answerTo(const Refusal& refusal);

/// Fulfils requests. Safe to use from several threads.
class Agent {
public:
    Agent(const Configuration& configuration, std::string token, const std::shared_ptr<Programs>& programs);

    /// See ternvault::server::admit.
    Operation admit(const RequestHead& head) const;

    /// Blocks until the work is done or refused; `body` belongs to Operation::createUser.
    Answer fulfil(Operation operation, std::string_view body);

private:
    std::string token_;
    DiskListing disks_;
    Accounts accounts_;
};

} // namespace ternvault::server
