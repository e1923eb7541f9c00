#pragma once

#include "app/CommandLine.h"

#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <vector>

namespace ternvault {

/// The running application as the desktop reaches it on the session bus (org.freedesktop.Application). There
/// is one per session. Main thread.
class ApplicationService final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    /// What others may ask for; each call brings what the desktop gave to let the window come to the front.
    struct Handlers {
        std::function<void()> activate;
        std::function<void(const std::vector<QUrl>& urls)> open;
        /// "paste" or "add-files", as in the desktop entry.
        std::function<void(const QString& name)> performAction;
    };

    enum class Start {
        /// This is the application now. Requests wait for the main loop.
        first,
        /// The application was running already and has taken what this start was for.
        handedOver,
        /// It is running, but does not answer.
        unanswered,
    };

    /// Without a session bus every start is a first one.
    Start claim(const CommandLine& commandLine, const QVariantMap& startupTokens);
    void setHandlers(Handlers handlers) { handlers_ = std::move(handlers); }
    /// From now on another start is a first one. The main loop does not run any more.
    void release();

    // NOLINTBEGIN(readability-identifier-naming): names of the interface
    Q_SLOT void Activate(const QVariantMap& platformData);
    Q_SLOT void Open(const QStringList& uris, const QVariantMap& platformData);
    Q_SLOT void ActivateAction(const QString& name, const QVariantList& parameter,
                               const QVariantMap& platformData);
    // NOLINTEND(readability-identifier-naming)

private:
    Handlers handlers_;
    bool hasName_ = false;
};

} // namespace ternvault
