#pragma once

#include "platform/linux/SecretBackend.h"

#include <chrono>
#include <memory>

namespace ternvault {

class SecretServiceSession;

/// The Secret Service of the user's session (GNOME Keyring, KWallet, KeePassXC), over libsecret. Out of reach
/// while its default collection is locked: that is asked before every call, because the service would answer
/// with a prompt. Any thread.
class SecretServiceStore final : public SecretBackend {
public:
    explicit SecretServiceStore(std::chrono::milliseconds deadline = std::chrono::milliseconds(1000));

    /// A store that has begun to open the session that its first call needs. Copies share it.
    static SecretServiceStore prepared();

    SecretAnswer find(const SecretKey& key) override;
    bool store(const SecretKey& key, const QByteArray& secret) override;
    bool remove(const SecretKey& key) override;

private:
    std::chrono::milliseconds deadline_;
    /// Shared with calls that were given up.
    std::shared_ptr<SecretServiceSession> session_;
};

} // namespace ternvault
