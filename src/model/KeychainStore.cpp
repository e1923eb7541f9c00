#include "model/KeychainStore.h"

#include "base/Utf8.h"

#include <QStringEncoder>

namespace ternvault {

std::optional<QString> KeychainStore::password(const QString& account, const QString& service) const {
    const std::optional<QByteArray> data = secrets_.find(service, account);
    return data ? decodeUtf8(*data) : std::nullopt;
}

void KeychainStore::setPassword(const QString& secret, const QString& account) const {
    QStringEncoder encoder(QStringEncoder::Utf8, QStringConverter::Flag::Stateless);
    const QByteArray data = encoder(secret);
    // Not removed first: another process that starts at that moment would find none and clear what it missed.
    const bool kept =
        !secret.isEmpty() && !encoder.hasError() && secrets_.add(keychainService, account, data);
    if (!kept)
        deletePassword(account, keychainService);
}

void KeychainStore::deletePassword(const QString& account, const QString& service) const {
    secrets_.remove(service, account);
}

} // namespace ternvault
