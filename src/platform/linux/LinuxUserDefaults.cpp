#include "platform/linux/LinuxUserDefaults.h"

#include "platform/PropertyList.h"

#include <utility>

namespace ternvault {

namespace {

/// The value with the type that it will be read back with.
QVariant asStored(const QVariant& value) {
    return std::get<QVariant>(readPropertyList(writePropertyList(value)));
}

/// Exactly: QVariant takes true, 1 and 1.0 for equal.
bool isSame(const std::optional<QVariant>& one, const std::optional<QVariant>& other) {
    if (!one || !other)
        return !one && !other;
    return writePropertyList(*one) == writePropertyList(*other);
}

} // namespace

LinuxUserDefaults::LinuxUserDefaults(const std::filesystem::path& file, PropertyListFile::Report report)
    : file_(file, std::move(report)) {}

std::optional<QVariant> LinuxUserDefaults::object(const QString& key) const {
    for (const auto* kept : {&unsaved_, &sessionOnly_}) {
        if (const auto found = kept->find(key); found != kept->end())
            return found->second;
    }
    const QVariantMap& values = file_.values();
    const auto stored = values.find(key);
    return stored == values.end() ? std::nullopt : std::optional(*stored);
}

void LinuxUserDefaults::set(const QString& key, const QVariant& value) {
    change(key, asStored(value));
}

void LinuxUserDefaults::remove(const QString& key) {
    change(key, std::nullopt);
}

void LinuxUserDefaults::change(const QString& key, const std::optional<QVariant>& value) {
    if (unsaved_.empty() && isSame(object(key), value))
        return;
    sessionOnly_.erase(key);
    unsaved_[key] = value;
    const auto apply = [this](QVariantMap& values) {
        for (const auto& [changedKey, changed] : unsaved_) {
            if (changed)
                values.insert(changedKey, *changed);
            else
                values.remove(changedKey);
        }
    };
    if (file_.update(apply)) {
        unsaved_.clear();
    } else if (!file_.isReadable()) {
        unsaved_.merge(sessionOnly_);
        sessionOnly_ = std::exchange(unsaved_, {});
    }
}

} // namespace ternvault
