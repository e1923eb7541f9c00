#include "platform/linux/LinuxSecretStore.h"

#include <utility>

namespace ternvault {

std::optional<QByteArray> LinuxSecretStore::find(const QString& service, const QString& account) {
    const std::lock_guard lock(mutex_);
    const SecretKey key{service, account};
    if (!moved_ && !isLockHeld_ && !file_.entries().empty()) {
        std::error_code ignored;
        if (const auto held = lockChanges(ignored))
            moveIntoServiceOnce();
    }
    return told_[key] = look(key);
}

bool LinuxSecretStore::add(const QString& service, const QString& account, const QByteArray& secret) {
    return change({service, account}, secret);
}

void LinuxSecretStore::remove(const QString& service, const QString& account) {
    change({service, account}, std::nullopt);
}

LinuxSecretStore::Entry LinuxSecretStore::look(const SecretKey& key) {
    if (const auto entry = file_.find(key))
        return *entry;
    const SecretAnswer answer = serviceReached_ ? service_.find(key) : SecretAnswer{};
    serviceReached_ = answer.state != SecretAnswer::State::unavailable;
    return answer.state == SecretAnswer::State::found ? Entry(answer.secret) : std::nullopt;
}

bool LinuxSecretStore::change(const SecretKey& key, const Entry& entry) {
    const std::lock_guard lock(mutex_);
    const auto told = told_.extract(key);
    if (!told.empty() && told.mapped() == entry)
        return true;
    std::error_code error;
    const auto held = lockChanges(error);
    const bool isNewer = !told.empty() && told.mapped() != look(key);
    if (isNewer && (serviceReached_ || file_.find(key)))
        return true;
    if (error == std::errc::timed_out)
        return file_.put(key, entry);
    // Where the file cannot be locked, nobody can write it either, and the service serves alone.
    moveIntoServiceOnce();
    // What another process puts there from here on is newer.
    const auto older = file_.find(key);
    if (!applyToService(key, entry))
        return file_.put(key, entry);
    return !older || file_.forget(key, *older);
}

std::optional<FileLock> LinuxSecretStore::lockChanges(std::error_code& error) {
    using namespace std::chrono_literals;
    auto held = file_.lockChanges(isLockHeld_ ? 0ms : 2000ms, error);
    isLockHeld_ = error == std::errc::timed_out;
    return held;
}

void LinuxSecretStore::moveIntoServiceOnce() {
    if (std::exchange(moved_, true))
        return;
    for (const auto& [key, entry] : file_.entries()) {
        if (!applyToService(key, entry))
            return;
        file_.forget(key, entry);
    }
}

bool LinuxSecretStore::applyToService(const SecretKey& key, const Entry& entry) {
    if (serviceReached_)
        serviceReached_ = entry ? service_.store(key, *entry) : service_.remove(key);
    return serviceReached_;
}

} // namespace ternvault
