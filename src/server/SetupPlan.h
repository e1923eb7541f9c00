#pragma once

#include "server/Configuration.h"
#include "server/Programs.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace ternvault::server {

/// What is to be served, and as which share.
struct SetupWish {
    std::filesystem::path folder;
    std::string share;
};

/// One change of the PC.
struct SetupStep {
    /// What will change, as a sentence for the user.
    std::string change;
    /// Does it and returns what the user has to know from now on, if anything. Throws std::exception; a later
    /// run then goes on from what is there.
    std::function<std::string()> apply;
    /// Whether it only has a running service read what is there, which needs no consent. It is part of every
    /// plan: whether an earlier run came that far is unknown.
    bool isRefresh = false;
};

struct SetupPlan {
    /// In their order.
    std::vector<SetupStep> steps;
    /// Shares that let accounts in although the wish does not say so.
    std::vector<std::string> openShares;

    bool changesAnything() const;
};

/// What is still missing; reads only. `wish` has been checked and outlives the
/// plan, as `programs` does. Throws SetupError when what is there stands against the wish.
SetupPlan planSetup(Programs& programs, const Configuration& configuration, const SetupWish& wish);

/// Whether systemd runs this PC's services.
bool servicesAreManaged();

} // namespace ternvault::server
