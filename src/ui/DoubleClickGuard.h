#pragma once

#include <QObject>
#include <QRect>

#include <optional>
#include <vector>

class QAbstractButton;
class QApplication;
class QMouseEvent;
class QWidget;

namespace ternvault {

/// Keeps the second click of a double click from a button that came under the pointer through the first one.
/// Within the desktop's double-click interval after a first click, another one counts only where the same
/// button stood under the same place of the screen at the first. All windows; keys press buttons as ever.
class DoubleClickGuard final : public QObject {
public:
    explicit DoubleClickGuard(QApplication& application);

private:
    struct Button {
        /// Compared only.
        const QObject* widget;
        QRect place;
    };

    bool eventFilter(QObject* object, QEvent* event) override;
    bool isStray(QWidget& target, const QMouseEvent& press);
    static std::vector<Button> visibleButtons();

    /// When the buttons were pressed.
    std::optional<unsigned long> first_;
    std::optional<unsigned long> latest_;
    bool isStray_ = false;
    /// As they stood at the first press.
    std::vector<Button> buttons_;
};

} // namespace ternvault
