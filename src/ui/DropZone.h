#pragma once

#include <QWidget>

#include <functional>

class QBoxLayout;

namespace ternvault {

/// The dashed place that invites drops. It takes none itself: all of the screen does.
class DropZone final : public QWidget {
public:
    /// `clicked`: anywhere on it outside its buttons.
    explicit DropZone(std::function<void()> clicked);

    /// Below the texts.
    QBoxLayout& buttons() { return *buttons_; }
    /// Whether files hover over the screen.
    void showTargeted(bool isTargeted);

private:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

    std::function<void()> clicked_;
    QBoxLayout* buttons_;
    bool isTargeted_ = false;
    /// Only for those who came by keyboard.
    bool showsFocus_ = false;
};

} // namespace ternvault
