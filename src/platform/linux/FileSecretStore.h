#pragma once

#include "platform/linux/PropertyListFile.h"
#include "platform/linux/SecretBackend.h"

#include <optional>
#include <vector>

namespace ternvault {

/// Secrets in a file that only the user can read, for sessions without an unlocked Secret Service. It also
/// records that a secret was removed, for the service to be told later. One thread at a time.
class FileSecretStore {
public:
    /// Absent: removed.
    using Entry = std::optional<QByteArray>;

    FileSecretStore(const std::filesystem::path& file, PropertyListFile::Report report)
        : file_(file, std::move(report)) {}

    std::vector<std::pair<SecretKey, Entry>> entries();
    /// Nothing when the file says nothing about the secret.
    std::optional<Entry> find(const SecretKey& key);
    /// False when it could not be stored.
    bool put(const SecretKey& key, const Entry& entry);
    /// From now on the file says nothing about the secret, unless another process has put a different entry
    /// there.
    void forget(const SecretKey& key, const Entry& entry);

private:
    PropertyListFile file_;
};

} // namespace ternvault
