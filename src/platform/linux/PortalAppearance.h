#pragma once

#include "platform/Appearance.h"

#include <QDBusVariant>
#include <QObject>

#include <optional>

namespace ternvault {

/// The desktop's choice as its portal tells it, at the start and with every change. Main thread, within the
/// life of the QCoreApplication.
class PortalAppearance final : public QObject, public Appearance {
    Q_OBJECT

public:
    /// Asks the portal and waits for nothing. `isPlatformDark` counts where no portal answers, or it has no
    /// preference.
    explicit PortalAppearance(bool isPlatformDark);

    bool isDark() const override { return preference_.value_or(isPlatformDark_); }

private:
    Q_SLOT void onSettingChanged(const QString& space, const QString& key, const QDBusVariant& value);
    void ask();
    void take(const QVariant& value);

    bool isPlatformDark_;
    /// Nothing: the portal has no preference, or none is known yet.
    std::optional<bool> preference_;
};

} // namespace ternvault
