#pragma once

#include <QIconEngine>

namespace ternvault {

/// Says that there is more than fits; the toolkit's own is made of image files, which cost a start a
/// millisecond.
class Chevron final : public QIconEngine {
public:
    void paint(QPainter* painter, const QRect& area, QIcon::Mode mode, QIcon::State state) override;
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override;
    QIconEngine* clone() const override { return new Chevron; }
};

} // namespace ternvault
