#include "ui/Symbols.h"

#include <QPainter>
#include <QPixmap>
#include <QPixmapCache>
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

QString cacheKey(Symbol symbol, const QSizeF& size, qreal scale, const QColor& colour) {
    return u"symbol %1 %2 %3 %4 %5"_s.arg(static_cast<int>(symbol))
        .arg(size.width())
        .arg(size.height())
        .arg(scale)
        .arg(colour.rgba());
}

} // namespace

void paintSymbol(QPainter& painter, const QRectF& target, Symbol symbol, const QColor& colour) {
    const qreal scale = painter.device()->devicePixelRatioF();
    const QString key = cacheKey(symbol, target.size(), scale, colour);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = render(symbol, target.size(), scale, colour);
        QPixmapCache::insert(key, pixmap);
    }
    painter.drawPixmap(target.topLeft(), pixmap);
}

} // namespace ternvault
