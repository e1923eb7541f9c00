#pragma once

#include <QObject>

#include <functional>
#include <optional>

namespace ternvault {

/// One line that the desktop shows to the user wherever they are; a new one replaces the one before. Nothing
/// is waited for, and nothing happens where no service shows notifications. Main thread.
class DesktopNotification final : public QObject {
    Q_OBJECT

public:
    /// What happens when the user chooses the notification. The token lets a window of ours come to the front
    /// on Wayland; it may be empty.
    using Chosen = std::function<void(const QString& activationToken)>;
    explicit DesktopNotification(Chosen chosen) : chosen_(std::move(chosen)) {}

    void show(const QString& line);

private:
    Q_SLOT void onActionInvoked(uint id, const QString& action);
    Q_SLOT void onActivationToken(uint id, const QString& token);
    void listen();
    void send();

    Chosen chosen_;
    /// Given by the service; 0 before the first answer.
    uint id_ = 0;
    QString token_;
    /// What is to be shown once the service has told the id that it replaces.
    std::optional<QString> next_;
    bool isListening_ = false;
    bool isSending_ = false;
};

} // namespace ternvault
