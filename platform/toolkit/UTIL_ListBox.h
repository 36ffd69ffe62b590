// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef UTIL_LISTBOX_H
#define UTIL_LISTBOX_H

#include "OrmuPlatformExport.h"
#include "qlistbox.h"

#include <QMap>
#include <QPixmap>

// A row with the columns of a format: %I an icon, %T a text, %C a check mark, %R a radio mark. Columns are
// numbered from 0 in the order of the format. A call for another column has no effect.
class ORMU_PLATFORM_EXPORT UTIL_ListBoxItem : public QListBoxItem
{
public:
    // insertItem() puts the row into the list; listBox has no effect. checked is the state of the mark.
    UTIL_ListBoxItem(QListBox* listBox, const QString& format, bool checked);
    ~UTIL_ListBoxItem() override;

    // The text of the first %T column is the row's text().
    void setString(int column, const QString& text);
    QString getString(int column) const;
    void setPixmap(int column, const QPixmap& pixmap);
    QPixmap pixmap(int column) const;

    // The state of the %C or %R column. UTIL_ListBox::checkItem() sets it.
    bool isChecked() const { return checked_; }

    // The letters of the columns, in their order.
    QString columns() const { return columns_; }

private:
    friend class UTIL_ListBox;

    const QString columns_;
    QMap<int, QString> strings_;
    QMap<int, QPixmap> pixmaps_;
    bool checked_;
};

// A list of such rows. A click on a row changes its check mark or sets its radio mark. At most one radio
// mark is set. An empty list shows a text that says so.
class ORMU_PLATFORM_EXPORT UTIL_ListBox : public QListBox
{
    Q_OBJECT

public:
    // format and flags have no effect; the phone's toolkit has them.
    UTIL_ListBox(const QString& format, QWidget* parent, unsigned int flags);

    // A row that does not exist cannot be marked and counts as unmarked. A row whose radio mark is set
    // becomes the current row, so that the user sees it.
    void checkItem(int index, bool checked);
    void checkItem(QListBoxItem* item, bool checked);
    bool itemChecked(int index) const;

protected:
    void clickItem(QListBoxItem* item) override;
    void paintEvent(QPaintEvent* event) override;
};

#endif
