#pragma once

#include "platform/Appearance.h"

#include <QDBusVariant>
#include <QObject>

#include <optional>

namespace ternvault {

/// The desktop's choice as its portal tells it, at the start and with every change. Where no portal answers,
/// or it has no preference, the palette decides that the platform had when this object was made. Main thread,
/// within the life of the QGuiApplication; make it before anything sets a palette.
class PortalAppearance final : public QObject, public Appearance {
    Q_OBJECT

public:
    /// Asks the portal and waits for nothing.
    PortalAppearance();

    bool isDark() const override { return preference_.value_or(isPaletteDark_); }

private:
    Q_SLOT void onSettingChanged(const QString& space, const QString& key, const QDBusVariant& value);
    void ask();
    void take(const QVariant& value);

    bool isPaletteDark_;
    /// Nothing: the portal has no preference, or none is known yet.
    std::optional<bool> preference_;
};

} // namespace ternvault
