#include "platform/linux/FileSecretStore.h"

namespace ternvault {

namespace {

/// A removal is kept as the Boolean false.
QVariant toStored(const FileSecretStore::Entry& entry) {
    return entry ? QVariant(*entry) : QVariant(false);
}

FileSecretStore::Entry fromStored(const QVariant& stored) {
    return stored.typeId() == QMetaType::QByteArray ? std::optional(stored.toByteArray()) : std::nullopt;
}

} // namespace

std::optional<FileLock> FileSecretStore::lockChanges(std::chrono::milliseconds patience,
                                                     std::error_code& error) const {
    if (path_.empty()) {
        error = std::make_error_code(std::errc::no_such_file_or_directory);
        return std::nullopt;
    }
    std::filesystem::create_directories(path_.parent_path(), error);
    // Not the file's own lock, which the file takes for each of its changes.
    return FileLock::acquire(path_.native() + ".changes", patience, error);
}

std::vector<std::pair<SecretKey, FileSecretStore::Entry>> FileSecretStore::entries() {
    std::vector<std::pair<SecretKey, Entry>> all;
    const QVariantMap services = file_.values();
    for (auto service = services.begin(); service != services.end(); ++service) {
        const QVariantMap accounts = service->toMap();
        for (auto account = accounts.begin(); account != accounts.end(); ++account)
            all.emplace_back(SecretKey{service.key(), account.key()}, fromStored(*account));
    }
    return all;
}

std::optional<FileSecretStore::Entry> FileSecretStore::find(const SecretKey& key) {
    const QVariantMap accounts = file_.values().value(key.service).toMap();
    const auto stored = accounts.find(key.account);
    if (stored == accounts.end())
        return std::nullopt;
    return std::optional<Entry>(std::in_place, fromStored(*stored));
}

bool FileSecretStore::put(const SecretKey& key, const Entry& entry) {
    return file_.update([&](QVariantMap& services) {
        QVariantMap accounts = services.value(key.service).toMap();
        accounts.insert(key.account, toStored(entry));
        services.insert(key.service, accounts);
    });
}

bool FileSecretStore::forget(const SecretKey& key, const Entry& entry) {
    return file_.update([&](QVariantMap& services) {
        QVariantMap accounts = services.value(key.service).toMap();
        if (!accounts.contains(key.account) || fromStored(accounts.value(key.account)) != entry)
            return;
        accounts.remove(key.account);
        if (accounts.isEmpty())
            services.remove(key.service);
        else
            services.insert(key.service, accounts);
    });
}

} // namespace ternvault
