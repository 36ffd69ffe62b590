#ifndef QSCROLLVIEW_H
#define QSCROLLVIEW_H

#include <QScrollArea>

// A scrolling area whose children stand at fixed places of its contents.
class QScrollView : public QScrollArea
{
    Q_OBJECT

public:
    explicit QScrollView(QWidget* parent = nullptr);

    // Takes child into the contents, with its upper left corner at (x, y), and makes the contents large
    // enough to hold it. The view owns it from then on.
    virtual void addChild(QWidget* child, int x = 0, int y = 0);

protected:
    // Contents grow with the children that are resized after they were added.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void growToHold(const QWidget* child);
};

#endif
