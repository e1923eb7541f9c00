#include "model/KeychainStore.h"

#include "base/Utf8.h"

namespace ternvault {

std::optional<QString> KeychainStore::password(const QString& account, const QString& service) const {
    const std::optional<QByteArray> data = secrets_.find(service, account);
    return data ? decodeUtf8(*data) : std::nullopt;
}

void KeychainStore::setPassword(const QString& secret, const QString& account) const {
    deletePassword(account, keychainService);
    if (!secret.isEmpty())
        secrets_.add(keychainService, account, secret.toUtf8());
}

void KeychainStore::deletePassword(const QString& account, const QString& service) const {
    secrets_.remove(service, account);
}

} // namespace ternvault
