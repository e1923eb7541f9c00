#include "platform/linux/LinuxSecretStore.h"

#include <utility>

namespace ternvault {

std::optional<QByteArray> LinuxSecretStore::find(const QString& service, const QString& account) {
    const std::lock_guard lock(mutex_);
    const SecretKey key{service, account};
    moveIntoServiceOnce();
    answers_.erase(key);
    if (const auto entry = file_.find(key))
        return *entry;
    const SecretAnswer answer = serviceReached_ ? service_.find(key) : SecretAnswer{};
    if (answer.state == SecretAnswer::State::unavailable)
        serviceReached_ = false;
    answers_[key] = answer;
    return answer.state == SecretAnswer::State::found ? std::optional(answer.secret) : std::nullopt;
}

bool LinuxSecretStore::add(const QString& service, const QString& account, const QByteArray& secret) {
    const std::lock_guard lock(mutex_);
    const SecretKey key{service, account};
    return isKnown(key, secret) || change(key, secret);
}

void LinuxSecretStore::remove(const QString& service, const QString& account) {
    const std::lock_guard lock(mutex_);
    const SecretKey key{service, account};
    if (!isKnown(key, std::nullopt))
        change(key, std::nullopt);
}

bool LinuxSecretStore::isKnown(const SecretKey& key, const FileSecretStore::Entry& entry) {
    const auto answer = answers_.extract(key);
    if (answer.empty())
        return false;
    const bool wasFound = answer.mapped().state == SecretAnswer::State::found;
    return entry ? wasFound && answer.mapped().secret == *entry : !wasFound;
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

bool LinuxSecretStore::applyToService(const SecretKey& key, const FileSecretStore::Entry& entry) {
    if (serviceReached_)
        serviceReached_ = entry ? service_.store(key, *entry) : service_.remove(key);
    return serviceReached_;
}

bool LinuxSecretStore::change(const SecretKey& key, const FileSecretStore::Entry& entry) {
    moveIntoServiceOnce();
    if (!applyToService(key, entry))
        return file_.put(key, entry);
    // Another process may have had to use the file meanwhile.
    if (const auto older = file_.find(key))
        file_.forget(key, *older);
    return true;
}

} // namespace ternvault
