#include "ui/Symbols.h"

#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

QString file(Symbol symbol) {
    switch (symbol) {
    case Symbol::drive:
        return u":/ternvault/symbols/drive.svg"_s;
    case Symbol::driveWithCheck:
        return u":/ternvault/symbols/drive-check.svg"_s;
    case Symbol::warning:
        return u":/ternvault/symbols/warning.svg"_s;
    case Symbol::checkCircle:
        return u":/ternvault/symbols/check-circle.svg"_s;
    case Symbol::check:
        return u":/ternvault/symbols/check.svg"_s;
    }
    return {};
}

/// The drawings are black; only their coverage counts.
QPixmap render(Symbol symbol, const QSizeF& size, qreal scale, const QColor& colour) {
    QPixmap pixmap((size * scale).toSize());
    pixmap.setDevicePixelRatio(scale);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    QSvgRenderer(file(symbol)).render(&painter, QRectF(QPointF(), size));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRectF(QPointF(), size), colour);
    return pixmap;
}

} // namespace

void paintSymbol(QPainter& painter, const QRectF& target, Symbol symbol, const QColor& colour) {
    const qreal scale = painter.device()->devicePixelRatioF();
    painter.drawPixmap(target.topLeft(), render(symbol, target.size(), scale, colour));
}

} // namespace ternvault
