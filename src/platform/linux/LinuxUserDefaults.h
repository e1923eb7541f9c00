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

private:
    void change(const QString& key, const std::optional<QVariant>& value);

    mutable PropertyListFile file_;
    /// Absent: removed.
    using Changes = std::map<QString, std::optional<QVariant>>;
    /// Tried again with the next change.
    Changes unsaved_;
    /// Made while the file could not be read, so without knowing what it holds: never written over it.
    Changes sessionOnly_;
};

} // namespace ternvault
