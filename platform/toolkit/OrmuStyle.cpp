// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "OrmuStyle.h"

#include <QApplication>
#include <QCheckBox>
#include <QPainter>
#include <QStyleOption>
#include <QTextLayout>
#include <QTextOption>

namespace {
const QColor TEXT(0x16, 0x20, 0x2c);
const QColor SCREEN(0xf3, 0xf6, 0xfa);
const QColor FOCUS(0x1c, 0x6d, 0xb5);
const QColor FAINT(0x9a, 0xa6, 0xb3);
const QColor MARK_EDGE(0x55, 0x66, 0x78);
const QColor GROOVE(0xe4, 0xeb, 0xf3);
const QColor THUMB(0x86, 0x97, 0xa9);

constexpr int ENTRY_WIDTH = 220;
constexpr int ENTRY_HEIGHT = 30;
constexpr int ENTRY_MARGIN = 7;
constexpr int CHECK_BOX_INDENT = 4;
constexpr int LIST_ROW_HEIGHT = 24; // of an open combo box

QPalette palette()
{
    QPalette colors(SCREEN);
    colors.setColor(QPalette::WindowText, TEXT);
    colors.setColor(QPalette::Text, TEXT);
    colors.setColor(QPalette::ButtonText, TEXT);
    colors.setColor(QPalette::Base, Qt::white);
    colors.setColor(QPalette::PlaceholderText, MARK_EDGE);
    colors.setColor(QPalette::Button, QColor(0xe4, 0xeb, 0xf3));
    colors.setColor(QPalette::Midlight, QColor(0xcf, 0xdd, 0xec));
    colors.setColor(QPalette::Highlight, FOCUS);
    colors.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        colors.setColor(QPalette::Disabled, role, FAINT);
    return colors;
}

// Antialiasing, while it lives.
class Smooth
{
public:
    explicit Smooth(QPainter* painter) : painter_(painter)
    {
        painter_->save();
        painter_->setRenderHint(QPainter::Antialiasing);
    }
    ~Smooth() { painter_->restore(); }
    Smooth(const Smooth&) = delete;
    Smooth& operator=(const Smooth&) = delete;

private:
    QPainter* painter_;
};

// Draws the line inside rect.
void drawBox(QPainter* painter, const QRect& rect, const QPen& pen, const QBrush& brush, double corner)
{
    const double inset = pen.style() == Qt::NoPen ? 0 : pen.widthF() / 2;
    painter->setPen(pen);
    painter->setBrush(brush);
    painter->drawRoundedRect(QRectF(rect).adjusted(inset, inset, -inset, -inset), corner, corner);
}

void drawTick(QPainter* painter, const QRect& rect)
{
    const QPointF corner = rect.topLeft();
    const double size = rect.width();
    painter->setPen(QPen(FOCUS, 2.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->drawPolyline(QPolygonF({corner + QPointF(0.25, 0.52) * size, corner + QPointF(0.43, 0.71) * size,
                                     corner + QPointF(0.76, 0.29) * size}));
}

QRect focusMark(const QStyleOption& option, const QWidget* widget)
{
    // For a check box, option describes the text only.
    if (qobject_cast<const QCheckBox*>(widget) == nullptr)
        return option.rect;
    QRect mark = widget->rect();
    mark.setHeight(qMin(mark.height(), ENTRY_HEIGHT));
    mark.moveCenter(widget->rect().center());
    return mark.adjusted(2, 1, -2, -1);
}

// A text entry or combo box, with an edge in the focus colour when it has the focus.
void drawEntry(QPainter* painter, const QStyleOption& option)
{
    const bool focused = option.state & QStyle::State_HasFocus;
    drawBox(painter, option.rect.adjusted(2, 1, -2, -1), focused ? QPen(FOCUS, 2) : QPen(FAINT, 1),
            option.palette.base(), 3);
}

void fillVertical(QPainter* painter, const QRect& rect, const QColor& top, const QColor& bottom)
{
    QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    painter->fillRect(rect, gradient);
}

// The lines of the text that fit into the place, at least one, with an ellipsis at the end when the text is
// cut.
QString cutToFit(const QString& text, const QFont& font, const QSize& place, const QTextOption& option)
{
    QTextLayout layout(QString(text).replace(QLatin1Char('\n'), QChar::LineSeparator), font);
    layout.setTextOption(option);
    layout.beginLayout();
    qreal height = 0;
    int lastStart = 0; // of the last line that fits
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(place.width());
        height += line.height();
        if (height > place.height() && line.textStart() > 0) {
            layout.endLayout();
            const QString last = text.mid(lastStart).replace(QLatin1Char('\n'), QLatin1Char(' '));
            return text.left(lastStart) + QFontMetrics(font).elidedText(last, Qt::ElideRight, place.width());
        }
        lastStart = line.textStart();
    }
    layout.endLayout();
    return text;
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
    font.setPixelSize(12);
    QApplication::setFont(font);
}

QSize OrmuStyle::entrySize()
{
    return {ENTRY_WIDTH, ENTRY_HEIGHT};
}

QColor OrmuStyle::screenColor()
{
    return SCREEN;
}

QColor OrmuStyle::focusColor()
{
    return FOCUS;
}

void OrmuStyle::dim(QPainter* painter, const QRect& rect)
{
    painter->fillRect(rect, QColor(0x0c, 0x14, 0x1e, 0x8c));
}

void OrmuStyle::drawPanel(QPainter* painter, const QRect& panel)
{
    painter->fillRect(framed(panel), QColor(0x36, 0x47, 0x5b));
    painter->fillRect(panel, Qt::white);
}

QRect OrmuStyle::framed(const QRect& panel)
{
    return panel.adjusted(-2, -2, 2, 2);
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
    case PM_ExclusiveIndicatorWidth:
    case PM_ExclusiveIndicatorHeight:
        return 16;
    case PM_FocusFrameHMargin:
        return ENTRY_MARGIN - 3;
    case PM_MenuHMargin:
    case PM_MenuVMargin:
        return 2;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int OrmuStyle::styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                         QStyleHintReturn* returned) const
{
    if (hint == SH_ComboBox_Popup)
        return 0; // a list below the box
    return QProxyStyle::styleHint(hint, option, widget, returned);
}

QRect OrmuStyle::subElementRect(SubElement element, const QStyleOption* option, const QWidget* widget) const
{
    if (element == SE_LineEditContents)
        return option->rect.adjusted(ENTRY_MARGIN, 3, -ENTRY_MARGIN, -3);
    if (element == SE_CheckBoxClickRect)
        return option->rect;
    return QProxyStyle::subElementRect(element, option, widget);
}

QRect OrmuStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                                const QWidget* widget) const
{
    QRect rect = QProxyStyle::subControlRect(control, option, part, widget);
    if (control == CC_ComboBox && part == SC_ComboBoxEditField)
        rect.setLeft(option->rect.left() + ENTRY_MARGIN);
    return rect;
}

QSize OrmuStyle::sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                                  const QWidget* widget) const
{
    if (type == CT_ComboBox)
        return entrySize();
    const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    return type == CT_ItemViewItem ? size.expandedTo(QSize(0, LIST_ROW_HEIGHT)) : size;
}

void OrmuStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const
{
    const Smooth smooth(painter);
    switch (element) {
    case PE_FrameFocusRect:
        drawBox(painter, focusMark(*option, widget), QPen(FOCUS, 2), Qt::NoBrush, 3);
        break;
    case PE_PanelLineEdit:
        drawEntry(painter, *option);
        break;
    case PE_IndicatorCheckBox:
        drawBox(painter, option->rect, QPen(MARK_EDGE, 1.4), Qt::white, 3);
        if (option->state & State_On)
            drawTick(painter, option->rect);
        break;
    case PE_IndicatorRadioButton:
        drawBox(painter, option->rect, QPen(MARK_EDGE, 1.4), Qt::white, option->rect.width() / 2.0);
        if (option->state & State_On)
            drawBox(painter, option->rect.adjusted(4, 4, -4, -4), Qt::NoPen, FOCUS, 4);
        break;
    default:
        QProxyStyle::drawPrimitive(element, option, painter, widget);
    }
}

void OrmuStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                            const QWidget* widget) const
{
    const auto* entry = qstyleoption_cast<const QStyleOptionMenuItem*>(option);
    if (element == CE_MenuItem && entry != nullptr && entry->state.testFlag(State_Selected)) {
        // The colours of a list's current row; the base style has others for menus.
        QStyleOptionMenuItem current = *entry;
        current.state.setFlag(State_Selected, false);
        for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
            current.palette.setColor(role, current.palette.color(QPalette::HighlightedText));
        painter->fillRect(entry->rect, entry->palette.highlight());
        QProxyStyle::drawControl(element, &current, painter, widget);
        return;
    }
    const auto* box = qstyleoption_cast<const QStyleOptionButton*>(option);
    if (element != CE_CheckBox || box == nullptr) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    QStyleOptionButton indented = *box;
    indented.rect.adjust(CHECK_BOX_INDENT, 0, 0, 0);
    QProxyStyle::drawControl(element, &indented, painter, widget);
}

void OrmuStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                   QPainter* painter, const QWidget* widget) const
{
    const auto* bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control == CC_ScrollBar && bar != nullptr) {
        drawScrollBar(painter, *bar, widget);
        return;
    }
    if (control != CC_ComboBox) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    const Smooth smooth(painter);
    drawEntry(painter, *option);
    QStyleOption arrow = *option;
    arrow.rect = proxy()->subControlRect(CC_ComboBox, option, SC_ComboBoxArrow, widget);
    QProxyStyle::drawPrimitive(PE_IndicatorArrowDown, &arrow, painter, widget);
}

void OrmuStyle::drawScrollBar(QPainter* painter, const QStyleOptionSlider& option,
                              const QWidget* widget) const
{
    const bool upright = option.orientation == Qt::Vertical;
    painter->fillRect(option.rect, GROOVE);
    QStyleOption arrow = option;
    arrow.rect = proxy()->subControlRect(CC_ScrollBar, &option, SC_ScrollBarSubLine, widget);
    QProxyStyle::drawPrimitive(upright ? PE_IndicatorArrowUp : PE_IndicatorArrowLeft, &arrow, painter,
                               widget);
    arrow.rect = proxy()->subControlRect(CC_ScrollBar, &option, SC_ScrollBarAddLine, widget);
    QProxyStyle::drawPrimitive(upright ? PE_IndicatorArrowDown : PE_IndicatorArrowRight, &arrow, painter,
                               widget);
    if (!option.state.testFlag(State_Enabled))
        return;
    const Smooth smooth(painter);
    const QRect thumb = proxy()->subControlRect(CC_ScrollBar, &option, SC_ScrollBarSlider, widget);
    drawBox(painter, thumb.adjusted(2, 1, -2, -1), Qt::NoPen, THUMB, 3);
}

void OrmuStyle::drawItemText(QPainter* painter, const QRect& rect, int flags, const QPalette& colors,
                             bool enabled, const QString& text, QPalette::ColorRole textRole) const
{
    if ((flags & Qt::TextWordWrap) == 0) {
        QProxyStyle::drawItemText(painter, rect, flags, colors, enabled, text, textRole);
        return;
    }
    // An address or a name may be a word that is longer than a line.
    QTextOption option(
        static_cast<Qt::Alignment>(flags & (Qt::AlignHorizontal_Mask | Qt::AlignVertical_Mask)));
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    painter->save();
    painter->setPen(colors.color(enabled ? QPalette::Normal : QPalette::Disabled, textRole));
    painter->drawText(QRectF(rect), cutToFit(text, painter->font(), rect.size(), option), option);
    painter->restore();
}

#include "moc_OrmuStyle.cpp"
