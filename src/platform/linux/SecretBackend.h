#pragma once

#include <QByteArray>
#include <QString>

#include <tuple>

namespace ternvault {

/// What names a secret.
struct SecretKey {
    QString service;
    QString account;
    bool operator==(const SecretKey&) const = default;
    bool operator<(const SecretKey& other) const {
        return std::tie(service, account) < std::tie(other.service, other.account);
    }
};

/// What a store that may be out of reach knows about a secret.
struct SecretAnswer {
    enum class State {
        found,
        absent,
        /// The store did not answer, or is locked: the secret may be there or not.
        unavailable,
    };
    State state = State::unavailable;
    QByteArray secret;
};

/// A store that may be out of reach. Every call ends within a second or so and shows no prompt. It may keep
/// secrets in several places: what is said of a secret holds for all of them.
class SecretBackend {
public:
    virtual ~SecretBackend() = default;

    virtual SecretAnswer find(const SecretKey& key) = 0;
    /// Stores the secret in place of any other under the key; false when out of reach. It may be stored then,
    /// beside an older one that is locked away.
    virtual bool store(const SecretKey& key, const QByteArray& secret) = 0;
    /// True when there is no such secret any more; false when out of reach, as one that is locked away is.
    virtual bool remove(const SecretKey& key) = 0;
};

} // namespace ternvault
