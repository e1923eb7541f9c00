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
/// A click counts only where, at the first one of its series, the same button stood under the same place of
/// the screen; a series lasts for the desktop's double-click interval. All windows; keys press buttons as
/// ever.
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
    static std::vector<Button> shownButtons();

    /// Times of the presses that began the series and that came last.
    std::optional<unsigned long> first_;
    std::optional<unsigned long> latest_;
    /// The latest one.
    bool isStray_ = false;
    /// As they stood at the first press of the series.
    std::vector<Button> buttons_;
};

} // namespace ternvault
