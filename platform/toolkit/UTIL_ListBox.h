#ifndef UTIL_LISTBOX_H
#define UTIL_LISTBOX_H

#include "qlistbox.h"

#include <QMap>
#include <QPixmap>

// A row of columns, laid out by a format: %I an icon, %T a text, %C a check mark, %R a radio mark. Columns
// are numbered from 0 in the format's order; those that the format does not have are ignored.
class UTIL_ListBoxItem : public QListBoxItem
{
public:
    // The row is made for listBox but enters it only by insertItem(). checked is the state of its mark.
    UTIL_ListBoxItem(QListBox* listBox, const QString& format, bool checked);

    // The text of the first %T column is also the row's text().
    void setString(int column, const QString& text);
    QString getString(int column) const;
    void setPixmap(int column, const QPixmap& pixmap);
    QPixmap pixmap(int column) const;

    // The state of the %C or %R column. UTIL_ListBox::checkItem() sets it.
    bool isChecked() const { return checked_; }

    // The letters of the format's columns, in their order.
    QString columns() const { return columns_; }

private:
    friend class UTIL_ListBox;

    const QString columns_;
    QMap<int, QString> strings_;
    QMap<int, QPixmap> pixmaps_;
    bool checked_;
};

// A list of such rows. A click on a row with a check mark turns the mark over; a click on a row with a radio
// mark sets it. At most one radio mark is set at a time. A list without rows says so.
class UTIL_ListBox : public QListBox
{
    Q_OBJECT

public:
    // The phone's rows are all of the one format. flags are kept for the phone's sake; 0 is the one value in
    // use.
    UTIL_ListBox(const QString& format, QWidget* parent, unsigned int flags);

    // Rows that are not there are not marked, and count as unmarked. A row whose radio mark is set becomes
    // the current one, so that the user finds it.
    void checkItem(int index, bool checked);
    void checkItem(QListBoxItem* item, bool checked);
    bool itemChecked(int index) const;

protected:
    void clickItem(QListBoxItem* item) override;
    void paintEvent(QPaintEvent* event) override;
};

#endif
