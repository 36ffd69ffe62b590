#include "OrmuStyle.h"

#include <QApplication>
#include <QPainter>
#include <QStyleOption>

namespace {
const QColor TEXT(0x16, 0x20, 0x2c);
const QColor SCREEN(0xf3, 0xf6, 0xfa);
const QColor FOCUS(0x1c, 0x6d, 0xb5);
const QColor FAINT(0x9a, 0xa6, 0xb3);

QPalette palette()
{
    QPalette colors(SCREEN);
    colors.setColor(QPalette::WindowText, TEXT);
    colors.setColor(QPalette::Text, TEXT);
    colors.setColor(QPalette::ButtonText, TEXT);
    colors.setColor(QPalette::Base, Qt::white);
    colors.setColor(QPalette::Button, QColor(0xe4, 0xeb, 0xf3));
    colors.setColor(QPalette::Highlight, FOCUS);
    colors.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        colors.setColor(QPalette::Disabled, role, FAINT);
    return colors;
}

void fillVertical(QPainter* painter, const QRect& rect, const QColor& top, const QColor& bottom)
{
    QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    painter->fillRect(rect, gradient);
}
} // namespace

OrmuStyle::OrmuStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

void OrmuStyle::install()
{
    if (qobject_cast<OrmuStyle*>(QApplication::style()) != nullptr)
        return;
    QApplication::setStyle(new OrmuStyle);
    QApplication::setPalette(palette());
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(13);
    QApplication::setFont(font);
}

QColor OrmuStyle::screenColor()
{
    return SCREEN;
}

QColor OrmuStyle::focusColor()
{
    return FOCUS;
}

void OrmuStyle::drawDialog(QPainter* painter, const QRect& screen, const QRect& panel)
{
    painter->fillRect(screen, QColor(0x0c, 0x14, 0x1e, 0x8c));
    painter->fillRect(panel.adjusted(-2, -2, 2, 2), QColor(0x36, 0x47, 0x5b));
    painter->fillRect(panel, Qt::white);
}

void OrmuStyle::drawTitleStrip(QPainter* painter, const QRect& rect)
{
    fillVertical(painter, rect, QColor(0xe1, 0xea, 0xf4), QColor(0xbf, 0xd1, 0xe5));
    painter->setPen(QColor(0x86, 0xa2, 0xbf));
    painter->drawLine(rect.bottomLeft(), rect.bottomRight());
}

void OrmuStyle::drawSoftKeyBar(QPainter* painter, const QRect& rect)
{
    fillVertical(painter, rect, QColor(0x36, 0x47, 0x5b), QColor(0x1d, 0x29, 0x38));
}

int OrmuStyle::pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const
{
    switch (metric) {
    case PM_ScrollBarExtent:
        return 12;
    case PM_IndicatorWidth:
    case PM_IndicatorHeight:
        return 16;
    case PM_MenuHMargin:
    case PM_MenuVMargin:
        return 2;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

void OrmuStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const
{
    if (element != PE_FrameFocusRect) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(FOCUS, 2));
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(QRectF(option->rect).adjusted(1, 1, -1, -1), 3, 3);
    painter->restore();
}
