#include "server/DiskListing.h"

#include "server/Refusal.h"

#include <thread>

namespace ternvault::server {

namespace {

bool isReady(const std::shared_future<std::string>& description) {
    return description.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

} // namespace

std::shared_future<std::string> DiskListing::current() {
    const std::lock_guard lock(mutex_);
    if (description_.valid() && (!isReady(description_) || Clock::now() < begun_ + limits_.age))
        return description_;
    std::packaged_task<std::string()> task([inventory = inventory_] { return inventory->describe(); });
    description_ = task.get_future().share();
    begun_ = Clock::now();
    std::thread(std::move(task)).detach();
    return description_;
}

std::string DiskListing::get() {
    const auto description = current();
    if (description.wait_for(limits_.patience) != std::future_status::ready)
        throw Refusal(503, "busy", "A disk of the PC does not answer");
    return description.get();
}

} // namespace ternvault::server
