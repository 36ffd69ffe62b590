#ifndef QPOPUPMENU_H
#define QPOPUPMENU_H

#include <QMenu>

#include <optional>

// A menu whose entries are known by numbers of the program's own. It opens inside the phone's window.
//
// By keys: the arrows move, Enter and the left and middle soft keys (F1, F2) choose, the right one (F3) and
// Escape close. The soft keys read so meanwhile, and act by pointer, too.
class QPopupMenu : public QMenu
{
    Q_OBJECT

public:
    explicit QPopupMenu(QWidget* parent = nullptr, const char* name = nullptr);

    // Adds an entry before the index-th one, or at the end when index is out of range. Returns id.
    int insertItem(const QString& text, int id, int index = -1);
    // These do nothing, or answer with false and an empty text, when there is no entry of that id.
    void changeItem(int id, const QString& text);
    void setItemEnabled(int id, bool enable);
    bool isItemEnabled(int id) const;
    QString text(int id) const;

    // Opens the menu with its entry indexAtPoint at pos (global), as far as the phone's window has room,
    // waits for the user, and returns the id chosen or -1. activated() has been emitted by then. The menu may
    // be deleted meanwhile; the result is then -1.
    int exec(const QPoint& pos, int indexAtPoint = 0);
    // Opens the menu with its lower left corner at pos (global) and returns at once.
    void popupAbove(const QPoint& pos);

signals:
    void activated(int id);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    QAction* find(int id) const;
    void tellChosen();

    std::optional<int> chosen_; // not told yet
};

#endif
