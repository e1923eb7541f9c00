#pragma once

#include "platform/UserDefaults.h"
#include "platform/linux/PropertyListFile.h"

#include <map>

namespace ternvault {

/// Settings in one property list of the user. A read sees what another process has written meanwhile. What
/// cannot be stored is kept for this process and tried again with the next change.
class LinuxUserDefaults final : public UserDefaults {
public:
    LinuxUserDefaults(const std::filesystem::path& file, PropertyListFile::Report report);

    std::optional<QVariant> object(const QString& key) const override;
    void set(const QString& key, const QVariant& value) override;
    void remove(const QString& key) override;
    void writeBack(const QString& key, const QVariant& value) override;

private:
    /// What a key holds; absent: nothing.
    using Value = std::optional<QVariant>;
    struct Change {
        Value value;
        /// What the key has to hold for the change to be made, if that matters.
        std::optional<Value> expected;
    };
    using Changes = std::map<QString, Change>;

    Value current(const QString& key) const;
    void change(const QString& key, const Change& change);
    bool storeUnsaved();

    mutable PropertyListFile file_;
    /// What was told of each key, or stored under it, last.
    mutable std::map<QString, Value> known_;
    /// Tried again with the next change.
    Changes unsaved_;
    /// Made while the file could not be read, so without knowing what it holds: never written over it.
    Changes sessionOnly_;
};

} // namespace ternvault
