#pragma once

#include "platform/SecretStore.h"
#include "platform/linux/FileSecretStore.h"
#include "platform/linux/SecretBackend.h"

#include <chrono>
#include <map>
#include <mutex>

namespace ternvault {

/// The Secret Service where one answers, a file otherwise, so that the two never disagree:
/// - Once the service was out of reach, the file serves for the rest of the process.
/// - What the file says wins. Its entries move into the service at the first use in a process that
///   reaches one.
/// - Processes change secrets one at a time. One that waits in vain uses the file, which wins, and
///   waits no more for the rest of the process.
/// - The first change that follows a read says nothing new where it writes what was read back, or clears
///   what was not found. It is dropped: another process may have stored something newer, and where no store
///   could answer, the service, locked at login, may hold what seems to be missing.
class LinuxSecretStore final : public SecretStore {
public:
    LinuxSecretStore(SecretBackend& service, FileSecretStore& file) : service_(service), file_(file) {}

    std::optional<QByteArray> find(const QString& service, const QString& account) override;
    bool isAbsent(const QString& service, const QString& account) override;
    bool add(const QString& service, const QString& account, const QByteArray& secret) override;
    void remove(const QString& service, const QString& account) override;

private:
    using Entry = FileSecretStore::Entry;

    /// What the file says, or else the service; nothing when that is out of reach.
    std::optional<Entry> look(const SecretKey& key);
    /// The error is std::errc::timed_out while another process keeps this one from changes.
    std::optional<FileLock> lockChanges(std::error_code& error);
    /// Stores or removes in the service, or else in the file.
    bool change(const SecretKey& key, const Entry& entry);
    /// While other processes are kept from changes.
    void moveIntoServiceOnce();
    /// Applies an entry of the file to the service; false when the service is out of reach.
    bool applyToService(const SecretKey& key, const Entry& entry);

    std::mutex mutex_;
    SecretBackend& service_;
    FileSecretStore& file_;
    bool moved_ = false;
    /// Whoever changes something may wait for the service to miss its deadline. Zero once it was in vain.
    std::chrono::milliseconds lockPatience_{2000};
    bool serviceReached_ = true;
    /// What was told of a secret that this process has not changed since.
    std::map<SecretKey, Entry> told_;
};

} // namespace ternvault
