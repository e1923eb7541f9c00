#pragma once

#include "platform/linux/SecretBackend.h"

#include <chrono>

namespace ternvault {

/// The Secret Service of the user's session (GNOME Keyring, KWallet, KeePassXC), over libsecret. Out of reach
/// while its default collection is locked: that is asked before every call, because the service would answer
/// with a prompt. Any thread.
class SecretServiceStore final : public SecretBackend {
public:
    explicit SecretServiceStore(std::chrono::milliseconds deadline = std::chrono::milliseconds(1000))
        : deadline_(deadline) {}

    SecretAnswer find(const SecretKey& key) override;
    bool store(const SecretKey& key, const QByteArray& secret) override;
    bool remove(const SecretKey& key) override;

private:
    const std::chrono::milliseconds deadline_;
};

} // namespace ternvault
