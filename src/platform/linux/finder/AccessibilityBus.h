#pragma once

#include "platform/linux/finder/AccessibleWindow.h"

#include <QDBusConnection>
#include <QObject>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include <sys/types.h>

class QDBusArgument;
class QDBusMessage;

namespace ternvault::finder {

/// Asks programs what is in their windows, as a screen reader does, over a connection of its own that is made
/// at the first question. The answers come from the main threads of those programs. One thread, with an event
/// loop.
class AccessibilityBus final : public QObject {
    Q_OBJECT

public:
    using Deadline = std::chrono::steady_clock::time_point;
    /// A control of that program has got the focus, or has lost it and need not have been followed by another
    /// one.
    using FocusMoved = std::function<void(const QString& program, const QString& control, bool got)>;

    AccessibilityBus(FocusMoved focusMoved, QObject* parent)
        : QObject(parent), focusMoved_(std::move(focusMoved)) {}
    ~AccessibilityBus() override;

    /// The unique name of that process; empty where it takes no part, or nobody answers before the deadline.
    QString program(pid_t process, Deadline deadline);
    /// The window of that program that has the focus, and its popups. Empty where it has no such window, or
    /// owes an answer at the deadline.
    AccessibleWindow activeWindow(const QString& program, Deadline deadline);
    /// Until the next question; the programs need not tell any more where the focus goes.
    void leave();
    struct Control {
        AccessibleNode node;
        /// What it is in, such as the list of an item.
        QString container;
    };
    /// One control, as if it were alone.
    std::optional<Control> control(const QString& program, const QString& path, Deadline deadline);

private:
    struct Reference {
        QString program;
        QString path;
    };
    struct Child {
        int parent = -1;
        Reference reference;
    };
    class Question;
    struct Description;

    static Reference takeReference(const QDBusArgument& from);
    bool reach(Deadline deadline);
    void listen();
    Q_SLOT void onStateChanged(const QDBusMessage& signal);
    Question ask(const Reference& object, const QString& interface, const QString& method,
                 const QVariantList& arguments = {}) const;
    Question askProperty(const Reference& object, const QString& name) const;
    /// The one that has the focus, and those without a frame that may have taken keys from it. None where
    /// several say that they have it.
    std::vector<Reference> windowsOf(const Reference& program) const;
    /// Adds them to the window and returns what is in them.
    std::vector<Child> describe(const std::vector<Child>& children, AccessibleWindow& window) const;

    QDBusConnection bus_{QString()};
    Deadline deadline_;
    FocusMoved focusMoved_;
};

} // namespace ternvault::finder
