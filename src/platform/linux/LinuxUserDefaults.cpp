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

std::optional<QVariant> valueIn(const QVariantMap& values, const QString& key) {
    const auto stored = values.find(key);
    return stored == values.end() ? std::nullopt : std::optional(*stored);
}

} // namespace

LinuxUserDefaults::LinuxUserDefaults(const std::filesystem::path& file, PropertyListFile::Report report)
    : file_(file, std::move(report)) {}

std::optional<QVariant> LinuxUserDefaults::object(const QString& key) const {
    return known_[key] = current(key);
}

void LinuxUserDefaults::set(const QString& key, const QVariant& value) {
    change(key, {asStored(value), std::nullopt});
}

void LinuxUserDefaults::remove(const QString& key) {
    change(key, {std::nullopt, std::nullopt});
}

void LinuxUserDefaults::writeBack(const QString& key, const QVariant& value) {
    const auto known = known_.find(key);
    change(key, {asStored(value), known == known_.end() ? std::nullopt : std::optional(known->second)});
}

LinuxUserDefaults::Value LinuxUserDefaults::current(const QString& key) const {
    for (const auto* kept : {&unsaved_, &sessionOnly_}) {
        if (const auto found = kept->find(key); found != kept->end())
            return found->second.value;
    }
    return valueIn(file_.values(), key);
}

void LinuxUserDefaults::change(const QString& key, const Change& change) {
    if (unsaved_.empty() && isSame(current(key), change.value))
        return;
    sessionOnly_.erase(key);
    unsaved_[key] = change;
    if (storeUnsaved()) {
        unsaved_.clear();
    } else if (!file_.isReadable()) {
        unsaved_.merge(sessionOnly_);
        sessionOnly_ = std::exchange(unsaved_, {});
    }
}

bool LinuxUserDefaults::storeUnsaved() {
    std::map<QString, Value> known = known_;
    const bool isStored = file_.update([&](QVariantMap& values) {
        for (const auto& [key, change] : unsaved_) {
            if (change.expected && !isSame(valueIn(values, key), *change.expected))
                continue;
            if (change.value)
                values.insert(key, *change.value);
            else
                values.remove(key);
            known[key] = change.value;
        }
    });
    if (isStored)
        known_ = std::move(known);
    return isStored;
}

} // namespace ternvault
