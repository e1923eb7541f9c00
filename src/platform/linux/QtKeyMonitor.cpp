#include "platform/linux/QtKeyMonitor.h"

#include <QGuiApplication>
#include <QKeyEvent>

#include <utility>

namespace ternvault {

namespace {

std::uint32_t flagsOf(const QKeyEvent& event) {
    /// Of the display's own modifier bits, on X11 and on Wayland.
    constexpr quint32 lock = 2;
    constexpr std::pair<Qt::KeyboardModifier, std::uint32_t> modifiers[] = {
        {Qt::ShiftModifier, key_flags::shift},
        {Qt::ControlModifier, key_flags::command},
        {Qt::AltModifier, key_flags::option},
        {Qt::MetaModifier, key_flags::control}};
    std::uint32_t flags = event.nativeModifiers() & lock ? key_flags::capsLock : 0;
    for (const auto& [modifier, flag] : modifiers)
        flags |= event.modifiers().testFlag(modifier) ? flag : 0;
    return flags;
}

std::optional<QString> charactersOf(const QKeyEvent& event) {
    // Beyond are the keys that type nothing.
    const bool isCharacter = event.key() > 0 && event.key() < Qt::Key_Escape;
    return isCharacter ? std::optional(QString(QChar(static_cast<char16_t>(event.key())))) : std::nullopt;
}

/// On the reference platform these do not go down; they change the flags.
bool isModifier(int key) {
    return (key >= Qt::Key_Shift && key <= Qt::Key_ScrollLock) || key == Qt::Key_AltGr;
}

/// Qt asks for each key whether it overrides the shortcuts, and delivers it afterwards. What is taken is
/// taken at the question; all that follows until the key is released goes with it.
class Monitor final : public QObject, public KeyMonitor::Handle {
public:
    explicit Monitor(KeyMonitor::Handler handler) : handler_(std::move(handler)) {
        qApp->installEventFilter(this);
    }

private:
    bool eventFilter(QObject* receiver, QEvent* event) override {
        switch (event->type()) {
        case QEvent::ShortcutOverride:
            return takesFirst(*receiver, static_cast<QKeyEvent&>(*event));
        case QEvent::KeyPress:
            return static_cast<const QKeyEvent&>(*event).key() == taken_;
        case QEvent::KeyRelease:
            return takesLast(static_cast<const QKeyEvent&>(*event));
        default:
            return false;
        }
    }

    bool takesFirst(const QObject& receiver, QKeyEvent& event) {
        // Who does not want it passes it on to its parent, and it comes by here again.
        const QObject* const first = QGuiApplication::focusObject();
        if ((first != nullptr && &receiver != first) || isModifier(event.key()))
            return false;
        if (!event.isAutoRepeat())
            taken_ = handler_({flagsOf(event), charactersOf(event)}) ? event.key() : nothing;
        if (event.key() != taken_)
            return false;
        event.accept();
        return true;
    }

    bool takesLast(const QKeyEvent& event) {
        if (event.key() != taken_)
            return false;
        if (!event.isAutoRepeat())
            taken_ = nothing;
        return true;
    }

    static constexpr int nothing = 0;
    KeyMonitor::Handler handler_;
    int taken_ = nothing;
};

} // namespace

std::unique_ptr<KeyMonitor::Handle> QtKeyMonitor::addLocalMonitor(Handler handler) {
    return std::make_unique<Monitor>(std::move(handler));
}

} // namespace ternvault
