#pragma once

#include "platform/linux/SecretBackend.h"

#include <chrono>
#include <memory>

namespace ternvault {

class SecretServiceSession;

/// The Secret Service of the user's session (GNOME Keyring, KWallet, KeePassXC), over libsecret. Which
/// collection is the default one may change: all items of a key count as one, in whichever they are. Out of
/// reach while the default collection, or an item of the key, is locked: that is asked before every change,
/// and what needs a prompt fails. Any thread.
class SecretServiceStore final : public SecretBackend {
public:
    explicit SecretServiceStore(std::chrono::milliseconds deadline = std::chrono::milliseconds(1000));

    /// A store that has already begun to look for what its first call, it is expected, will ask for. Copies
    /// share that.
    static SecretServiceStore preparedToFind(const SecretKey& key);

    SecretAnswer find(const SecretKey& key) override;
    bool store(const SecretKey& key, const QByteArray& secret) override;
    bool remove(const SecretKey& key) override;

private:
    struct EarlyFind;
    /// Whether this call is the first one, which alone may take what was found early.
    bool endFirstCall();

    std::chrono::milliseconds deadline_;
    /// Shared with calls that were given up.
    std::shared_ptr<SecretServiceSession> session_;
    std::shared_ptr<EarlyFind> early_;
};

} // namespace ternvault
