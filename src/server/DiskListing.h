#pragma once

#include "server/Inventory.h"

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <string>

namespace ternvault::server {

/// One inventory for all who ask at the same time. Safe to use from several threads.
class DiskListing {
public:
    struct Limits {
        /// What get() may take; clients wait 15 seconds.
        std::chrono::milliseconds patience = std::chrono::seconds(12);
        /// How old a description may be.
        std::chrono::milliseconds age = std::chrono::seconds(1);
    };

    explicit DiskListing(std::shared_ptr<Inventory> inventory)
        : DiskListing(std::move(inventory), Limits()) {}
    DiskListing(std::shared_ptr<Inventory> inventory, Limits limits)
        : inventory_(std::move(inventory)), limits_(limits) {}

    /// The inventory's description, young enough or still being made. Throws Refusal:
    /// the inventory's, or 503 when it takes too long. However many ask, one thread is at work, also while a
    /// disk is dead.
    std::string get();

private:
    using Clock = std::chrono::steady_clock;
    std::shared_future<std::string> current();

    /// Shared with the thread at work, which a dead disk may hold beyond the life of this object.
    std::shared_ptr<Inventory> inventory_;
    Limits limits_;
    std::mutex mutex_;
    std::shared_future<std::string> description_;
    Clock::time_point begun_;
};

} // namespace ternvault::server
