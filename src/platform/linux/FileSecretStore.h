#pragma once

#include "platform/linux/PropertyListFile.h"
#include "platform/linux/SecretBackend.h"

#include <chrono>
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
        : path_(file), file_(file, std::move(report)) {}

    /// Keeps other processes from changing secrets here and in the service meanwhile, as far as they ask for
    /// the same. Where that takes longer than `patience`, the error is std::errc::timed_out.
    std::optional<FileLock> lockChanges(std::chrono::milliseconds patience, std::error_code& error) const;

    std::vector<std::pair<SecretKey, Entry>> entries();
    /// Nothing when the file says nothing about the secret.
    std::optional<Entry> find(const SecretKey& key);
    /// False when it could not be stored.
    bool put(const SecretKey& key, const Entry& entry);
    /// From now on the file says nothing about the secret, unless another process has put a different entry
    /// there. False when that could not be stored.
    bool forget(const SecretKey& key, const Entry& entry);

private:
    std::filesystem::path path_;
    PropertyListFile file_;
};

} // namespace ternvault
