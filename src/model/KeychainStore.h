#pragma once

#include "platform/SecretStore.h"

#include <QString>

#include <optional>

namespace ternvault {

/// Service of every secret that the application writes.
inline constexpr QLatin1String keychainService("space.larkspur.ternvault");

/// Keeps text secrets out of the settings file. Stateless, reports no failures: what cannot be read counts as
/// absent. Any thread.
class KeychainStore {
public:
    explicit KeychainStore(SecretStore& secrets) : secrets_(secrets) {}

    std::optional<QString> password(const QString& account, const QString& service) const;
    /// Certainly: a keychain that does not answer has none missing.
    bool isMissing(const QString& account) const { return secrets_.isAbsent(keychainService, account); }
    /// Replaces the item; an empty secret leaves none.
    void setPassword(const QString& secret, const QString& account) const;
    void deletePassword(const QString& account, const QString& service) const;

private:
    SecretStore& secrets_;
};

} // namespace ternvault
