#include "platform/linux/LinuxSecretStore.h"

#include <utility>

namespace ternvault {

std::optional<QByteArray> LinuxSecretStore::find(const QString& service, const QString& account) {
    const std::lock_guard lock(mutex_);
    const SecretKey key{service, account};
    std::error_code ignored;
    if (!moved_ && lockPatience_.count() > 0 && !file_.entries().empty()) {
        if (const auto held = lockChanges(ignored))
            moveIntoServiceOnce();
    }
    return told_[key] = look(key).value_or(std::nullopt);
}

bool LinuxSecretStore::isAbsent(const QString& service, const QString& account) {
    const std::lock_guard lock(mutex_);
    return look({service, account}) == std::optional<Entry>(std::in_place);
}

bool LinuxSecretStore::add(const QString& service, const QString& account, const QByteArray& secret) {
    return change({service, account}, secret);
}

void LinuxSecretStore::remove(const QString& service, const QString& account) {
    change({service, account}, std::nullopt);
}

std::optional<LinuxSecretStore::Entry> LinuxSecretStore::look(const SecretKey& key) {
    if (auto entry = file_.find(key))
        return entry;
    const SecretAnswer answer = serviceReached_ ? service_.find(key) : SecretAnswer{};
    serviceReached_ = answer.state != SecretAnswer::State::unavailable;
    if (!serviceReached_)
        return std::nullopt;
    return std::optional<Entry>(
        std::in_place, answer.state == SecretAnswer::State::found ? Entry(answer.secret) : std::nullopt);
}

std::optional<FileLock> LinuxSecretStore::lockChanges(std::error_code& error) {
    auto held = file_.lockChanges(lockPatience_, error);
    if (error == std::errc::timed_out)
        lockPatience_ = {};
    return held;
}

bool LinuxSecretStore::change(const SecretKey& key, const Entry& entry) {
    const std::lock_guard lock(mutex_);
    const auto told = told_.extract(key);
    if (!told.empty() && told.mapped() == entry)
        return true;
    std::error_code error;
    const auto held = lockChanges(error);
    if (!told.empty() && told.mapped() != look(key).value_or(told.mapped()))
        return true;
    if (error == std::errc::timed_out)
        return file_.put(key, entry);
    // Where the file cannot be locked, nobody can write it either, and the service serves alone.
    moveIntoServiceOnce();
    // Not afterwards: another process that waited in vain may put something newer there meanwhile.
    const auto older = file_.find(key);
    if (!applyToService(key, entry))
        return file_.put(key, entry);
    return !older || file_.forget(key, *older);
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
