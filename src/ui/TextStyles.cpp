#include "ui/TextStyles.h"

#include <QFontDatabase>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QScreen>
#include <QVariant>
#include <QWidget>

/// Resources of a static library are reached only when asked for, outside any namespace.
static void initialiseResources() {
    Q_INIT_RESOURCE(assets);
}

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

constexpr auto styleProperty = "textStyle";

/// At the least body.
int designedSize(TextStyle style) {
    switch (style) {
    case TextStyle::title:
        return 28;
    case TextStyle::body:
    case TextStyle::headline:
        return leastBodySize;
    case TextStyle::callout:
        return 12;
    case TextStyle::caption:
    case TextStyle::counter:
        return 11;
    }
    return leastBodySize;
}

/// The family's name is what the file says.
QString loadTitleFamily() {
    initialiseResources();
    const int font = QFontDatabase::addApplicationFont(u":/ternvault/fonts/nunito-latin-700-normal.ttf"_s);
    return QFontDatabase::applicationFontFamilies(font).value(0);
}

void useTitleFamily(QFont& font) {
    static const QString family = loadTitleFamily();
    font.setFamilies({family});
    font.setWeight(QFont::Bold);
}

void useMonospacedDigits(QFont& font) {
    const QFontMetrics metrics(font);
    for (char16_t digit = u'1'; digit <= u'9'; ++digit) {
        if (metrics.horizontalAdvance(digit) != metrics.horizontalAdvance(u'0')) {
            font.setFamilies(QFontDatabase::systemFont(QFontDatabase::FixedFont).families());
            return;
        }
    }
}

} // namespace

int pixelSizeOf(const QFont& font) {
    constexpr double pointsPerInch = 72;
    if (font.pixelSize() > 0)
        return font.pixelSize();
    return qRound(font.pointSizeF() * QGuiApplication::primaryScreen()->logicalDotsPerInchY() /
                  pointsPerInch);
}

QFont fontOf(TextStyle style) {
    QFont font;
    font.setPixelSize(pixelSizeOf(font) * designedSize(style) / leastBodySize);
    if (style == TextStyle::title)
        useTitleFamily(font);
    else if (style == TextStyle::headline)
        font.setWeight(QFont::DemiBold);
    else if (style == TextStyle::counter)
        useMonospacedDigits(font);
    return font;
}

void setTextStyle(QWidget& widget, TextStyle style) {
    widget.setProperty(styleProperty, static_cast<int>(style));
    widget.setFont(fontOf(style));
}

void renewTextStyle(QWidget& widget) {
    const QVariant style = widget.property(styleProperty);
    if (style.isValid())
        widget.setFont(fontOf(static_cast<TextStyle>(style.toInt())));
}

} // namespace ternvault
