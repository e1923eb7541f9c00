#include "ui/ShareDelegate.h"

#include "ui/Colours.h"
#include "ui/SharesModel.h"
#include "ui/ShortenedText.h"
#include "ui/Symbols.h"
#include "ui/TextStyles.h"

#include <QPainter>

namespace ternvault {

namespace {

constexpr int padding = 6;
constexpr int gap = 10;
constexpr int symbolSize = 22;
constexpr int checkSize = 18;
constexpr int radius = 6;

QRect centred(const QRect& row, int left, int size) {
    return {left, row.center().y() - size / 2, size, size};
}

void paintBackground(QPainter& painter, const QStyleOptionViewItem& option, bool isSelected) {
    const QColor accent = colour(ColourRole::tint, option.palette);
    painter.setBrush(isSelected ? withOpacity(accent, 0.14F) : Qt::transparent);
    const bool hasFocus = option.state.testFlag(QStyle::State_HasFocus);
    painter.setPen(hasFocus ? QPen(accent, 1) : QPen(Qt::NoPen));
    painter.drawRoundedRect(QRectF(option.rect).adjusted(1, 1, -1, -1), radius, radius);
}

} // namespace

void ShareDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const {
    const bool isSelected = index.data(SharesModel::IsSelected).toBool();
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    paintBackground(*painter, option, isSelected);
    const QRect row = option.rect.adjusted(padding, padding, -padding, -padding);
    paintSymbol(*painter, centred(row, row.left(), symbolSize), Symbol::drive,
                colour(ColourRole::text, option.palette));
    if (isSelected) {
        paintSymbol(*painter, centred(row, row.right() - checkSize, checkSize), Symbol::checkCircle,
                    colour(ColourRole::tint, option.palette));
    }
    const QRect text = row.adjusted(symbolSize + gap, 0, -checkSize - gap, 0);
    painter->setFont(fontOf(TextStyle::headline));
    painter->setPen(colour(ColourRole::text, option.palette));
    const QString name = shortened(index.data().toString());
    painter->drawText(text, Qt::AlignLeading | Qt::AlignTop,
                      painter->fontMetrics().elidedText(name, Qt::ElideRight, text.width()));
    painter->setFont(fontOf(TextStyle::caption));
    painter->setPen(colour(ColourRole::secondary, option.palette));
    painter->drawText(text, Qt::AlignLeading | Qt::AlignBottom, index.data(SharesModel::Sizes).toString());
    painter->restore();
}

QSize ShareDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const {
    const int text = QFontMetrics(fontOf(TextStyle::headline)).height() +
                     QFontMetrics(fontOf(TextStyle::caption)).height() + 2;
    return {0, std::max(text, symbolSize) + 2 * padding};
}

} // namespace ternvault
