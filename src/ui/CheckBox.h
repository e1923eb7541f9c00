#pragma once

#include "ui/TextHeights.h"

#include <QCheckBox>

namespace ternvault {

/// A check box whose title wraps when there is not enough room for it.
class CheckBox final : public QCheckBox {
public:
    explicit CheckBox(const QString& title);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

private:
    void paintEvent(QPaintEvent* event) override;
    bool hitButton(const QPoint& position) const override { return rect().contains(position); }

    void paintIndicator(QPainter& painter, int top) const;
    QSize textSize(int availableWidth) const;

    mutable TextHeights heights_;
};

} // namespace ternvault
