#ifndef QLISTBOX_H
#define QLISTBOX_H

#include <QListWidget>
#include <QTimer>

class QListBox;

class QListBoxItem : public QListWidgetItem
{
public:
    explicit QListBoxItem(const QString& text = QString()) : QListWidgetItem(text) {}
};

// A list of rows that are known by their index. The current row is highlighted.
//
// A click is a press of the left button and its release on the same row, or Enter on the current row. In
// mouse mode 1 (OrmuApplication::setMouseMode() on the viewport) a long press and the Menu key stand for the
// right button, the Menu key (F4, Shift+F10) on the current row; a press that was taken for the right button
// is no click. The list may be cleared or deleted by whoever receives a signal.
class QListBox : public QListWidget
{
    Q_OBJECT

public:
    // The milliseconds after which a press is a long one.
    static constexpr int LONG_PRESS_MS = 700;

    explicit QListBox(QWidget* parent = nullptr, const char* name = nullptr);

    // Puts item before the index-th row, or at the end when index is out of range. The list owns it then.
    void insertItem(QListBoxItem* item, int index = -1);
    // Null when there is no such row.
    QListBoxItem* item(int index) const;
    // -1 when there is none.
    int currentItem() const { return currentRow(); }
    void setCurrentItem(int index) { setCurrentRow(index); }

signals:
    // Both: item is null beside the rows, pos is global.
    void rightButtonPressed(QListBoxItem* item, const QPoint& pos);
    void mouseButtonClicked(int button, QListBoxItem* item, const QPoint& pos);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

    // Called before a click on item is signalled; item is not null.
    virtual void clickItem(QListBoxItem* item);

private:
    QListBoxItem* itemAtPoint(const QPoint& viewportPos) const;
    QPoint centreOf(const QListBoxItem* item) const;
    void click(QListBoxItem* item, const QPoint& globalPos);
    void longPress();

    QTimer longPressTimer_{this};
    QPoint pressPos_;                     // in the viewport
    QListBoxItem* pressedItem_ = nullptr; // only ever compared: it may be deleted meanwhile
    bool pressed_ = false;
};

#endif
