#include "ui/Style.h"

#include "ui/ButtonKind.h"
#include "ui/ButtonLook.h"
#include "ui/Chevron.h"
#include "ui/FrameLook.h"
#include "ui/ProgressLook.h"
#include "ui/ScrollBarLook.h"

#include <QAbstractItemView>
#include <QPainter>
#include <QStyleOption>

namespace ternvault {

using namespace Qt::StringLiterals;

namespace {

bool isList(const QWidget* widget) {
    return qobject_cast<const QAbstractItemView*>(widget) != nullptr;
}

} // namespace

Style::Style() : QProxyStyle(u"fusion"_s) {}

void Style::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                        const QWidget* widget) const {
    if (element == CE_PushButton) {
        if (const auto* const button = qstyleoption_cast<const QStyleOptionButton*>(option))
            return paintButton(*painter, *button, kindOf(widget), *baseStyle());
    } else if (element == CE_ProgressBar) {
        if (const auto* const bar = qstyleoption_cast<const QStyleOptionProgressBar*>(option))
            return paintProgress(*painter, *bar);
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void Style::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                          const QWidget* widget) const {
    if (element == PE_PanelLineEdit) {
        const auto* const frame = qstyleoption_cast<const QStyleOptionFrame*>(option);
        if (frame != nullptr && frame->lineWidth > 0)
            return paintField(*painter, *frame);
    } else if (element == PE_Frame && isList(widget)) {
        return paintListFrame(*painter, *option);
    } else if (element == PE_PanelTipLabel) {
        return paintToolTip(*painter, *option);
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void Style::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                               const QWidget* widget) const {
    if (control == CC_ScrollBar) {
        if (const auto* const bar = qstyleoption_cast<const QStyleOptionSlider*>(option))
            return paintScrollBar(*painter, *bar);
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

QSize Style::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& content,
                              const QWidget* widget) const {
    if (type == CT_PushButton)
        return buttonSize(content, kindOf(widget));
    if (type == CT_LineEdit)
        return fieldSize(content);
    return QProxyStyle::sizeFromContents(type, option, content, widget);
}

QRect Style::subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const {
    if (element == SE_LineEditContents)
        return fieldContents(option->rect);
    if (element == SE_PushButtonLayoutItem && kindOf(widget) == ButtonKind::link)
        return option->rect.adjusted(linkPadding, linkPadding, -linkPadding, -linkPadding);
    return QProxyStyle::subElementRect(element, option, widget);
}

QRect Style::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                            const QWidget* widget) const {
    if (control == CC_ScrollBar) {
        if (const auto* const bar = qstyleoption_cast<const QStyleOptionSlider*>(option))
            return scrollBarPart(*bar, part);
    }
    return QProxyStyle::subControlRect(control, option, part, widget);
}

QIcon Style::standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const {
    if (icon == SP_ToolBarHorizontalExtensionButton)
        return QIcon(new Chevron);
    return QProxyStyle::standardIcon(icon, option, widget);
}

int Style::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const {
    if (metric == PM_ScrollBarExtent)
        return scrollBarWidth;
    if (metric == PM_ToolTipLabelFrameWidth)
        return toolTipFrameWidth;
    if (metric == PM_DefaultFrameWidth && isList(widget))
        return listFrameWidth;
    return QProxyStyle::pixelMetric(metric, option, widget);
}

} // namespace ternvault
