// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "UTIL_ListBox.h"

#include <QApplication>
#include <QPainter>
#include <QStyleOption>
#include <QStyledItemDelegate>

namespace {
constexpr int ROW_HEIGHT = 26;
constexpr int ICON_COLUMN = 26;
constexpr int MARK_SIZE = 16;
constexpr int TEXT_MARGIN = 5;

QString columnsOf(const QString& format)
{
    QString columns;
    for (qsizetype i = 0; i + 1 < format.size(); ++i)
        if (format[i] == QLatin1Char('%'))
            columns += format[++i];
    return columns;
}

class RowDelegate : public QStyledItemDelegate
{
public:
    explicit RowDelegate(QListBox* list) : QStyledItemDelegate(list), list_(list) {}

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override
    {
        return {0, ROW_HEIGHT}; // a row is as wide as the list, with or without a scroll bar
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const auto* row = static_cast<UTIL_ListBoxItem*>(list_->item(index.row()));
        const bool current = index.row() == list_->currentItem();
        // While a menu is open, the highlight is on its entry.
        const bool focused = current && list_->hasFocus() && QApplication::activePopupWidget() == nullptr;
        if (current)
            painter->fillRect(option.rect, focused ? option.palette.highlight()
                                                   : option.palette.brush(QPalette::Midlight));
        painter->setPen(option.palette.color(focused ? QPalette::HighlightedText : QPalette::Text));
        QRect cell = option.rect;
        const QString columns = row->columns();
        for (int column = 0; column < columns.size(); ++column)
            cell.setLeft(paintColumn(painter, cell, *row, column));
    }

private:
    // Returns where the next column begins.
    int paintColumn(QPainter* painter, const QRect& cell, const UTIL_ListBoxItem& row, int column) const
    {
        switch (row.columns().at(column).toLatin1()) {
        case 'I':
            paintIcon(painter, cell, row.pixmap(column));
            return cell.left() + ICON_COLUMN;
        case 'C':
            paintMark(painter, cell, row.isChecked(), QStyle::PE_IndicatorCheckBox);
            return cell.left() + ICON_COLUMN;
        case 'R':
            paintMark(painter, cell, row.isChecked(), QStyle::PE_IndicatorRadioButton);
            return cell.left() + ICON_COLUMN;
        case 'T':
            return paintText(painter, cell, row.getString(column));
        default:
            return cell.left();
        }
    }

    static void paintIcon(QPainter* painter, const QRect& cell, const QPixmap& icon)
    {
        QRect place(0, 0, icon.width(), icon.height());
        place.moveCenter(QRect(cell.left(), cell.top(), ICON_COLUMN, cell.height()).center());
        painter->drawPixmap(place, icon);
    }

    static int paintText(QPainter* painter, const QRect& cell, const QString& text)
    {
        const QRect place = cell.adjusted(TEXT_MARGIN, 0, -TEXT_MARGIN, 0);
        const QString shown = painter->fontMetrics().elidedText(text, Qt::ElideRight, place.width());
        painter->drawText(place, Qt::AlignVCenter | Qt::AlignLeft, shown);
        return place.left() + painter->fontMetrics().horizontalAdvance(shown) + TEXT_MARGIN;
    }

    void paintMark(QPainter* painter, const QRect& cell, bool checked, QStyle::PrimitiveElement mark) const
    {
        QStyleOption option;
        option.initFrom(list_);
        option.state.setFlag(QStyle::State_On, checked);
        option.rect = QRect(0, 0, MARK_SIZE, MARK_SIZE);
        option.rect.moveCenter(QRect(cell.left(), cell.top(), ICON_COLUMN, cell.height()).center());
        list_->style()->drawPrimitive(mark, &option, painter, list_);
    }

    QListBox* list_;
};
} // namespace

UTIL_ListBoxItem::UTIL_ListBoxItem(QListBox*, const QString& format, bool checked)
    : columns_(columnsOf(format)), checked_(checked)
{
}

UTIL_ListBoxItem::~UTIL_ListBoxItem() = default;

void UTIL_ListBoxItem::setString(int column, const QString& text)
{
    if (column < 0 || column >= columns_.size() || columns_.at(column) != QLatin1Char('T'))
        return;
    strings_[column] = text;
    if (columns_.indexOf(QLatin1Char('T')) == column)
        setText(text);
}

QString UTIL_ListBoxItem::getString(int column) const
{
    return strings_.value(column);
}

void UTIL_ListBoxItem::setPixmap(int column, const QPixmap& pixmap)
{
    pixmaps_[column] = pixmap;
}

QPixmap UTIL_ListBoxItem::pixmap(int column) const
{
    return pixmaps_.value(column);
}

UTIL_ListBox::UTIL_ListBox(const QString&, QWidget* parent, unsigned int) : QListBox(parent)
{
    setItemDelegate(new RowDelegate(this));
    setFrameShape(QFrame::NoFrame);
    setUniformItemSizes(true);
}

void UTIL_ListBox::checkItem(int index, bool checked)
{
    checkItem(item(index), checked);
}

void UTIL_ListBox::checkItem(QListBoxItem* item, bool checked)
{
    auto* marked = static_cast<UTIL_ListBoxItem*>(item);
    if (marked == nullptr)
        return;
    if (checked && marked->columns().contains(QLatin1Char('R'))) {
        for (int i = 0; i < count(); ++i)
            static_cast<UTIL_ListBoxItem*>(this->item(i))->checked_ = false;
        setCurrentItem(row(marked));
    }
    marked->checked_ = checked;
    viewport()->update();
}

bool UTIL_ListBox::itemChecked(int index) const
{
    const auto* row = static_cast<UTIL_ListBoxItem*>(item(index));
    return row != nullptr && row->isChecked();
}

void UTIL_ListBox::clickItem(QListBoxItem* item)
{
    const auto* row = static_cast<UTIL_ListBoxItem*>(item);
    if (row->columns().contains(QLatin1Char('R')))
        checkItem(item, true);
    else if (row->columns().contains(QLatin1Char('C')))
        checkItem(item, !row->isChecked());
}

void UTIL_ListBox::paintEvent(QPaintEvent* event)
{
    QListBox::paintEvent(event);
    if (count() > 0)
        return;
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(viewport()->rect().adjusted(0, ROW_HEIGHT, 0, 0), Qt::AlignHCenter | Qt::AlignTop,
                     tr("No entries", "2.3.8.1;FORM_CONTEXT_WITHOUT_SCROLL"));
    if (!hasFocus())
        return;
    // No row can show the focus.
    QStyleOptionFocusRect option;
    option.initFrom(viewport());
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

#include "moc_UTIL_ListBox.cpp"
