#ifndef UTIL_CST_H
#define UTIL_CST_H

#include <QWidget>

class OrmuPushButton;
class QKeyEvent;

// The bar of three soft keys at the bottom of a screen, which owns it.
class UTIL_CST : public QWidget
{
    Q_OBJECT

public:
    // The texts may be resource ids of the skin, such as "CST_Back". A key with an empty text shows nothing.
    UTIL_CST(QWidget* owner, const QString& middle, const QString& left, const QString& right);

    OrmuPushButton* getLeftBtn() const { return left_; }
    OrmuPushButton* getMidBtn() const { return middle_; }
    OrmuPushButton* getRightBtn() const { return right_; }

    // Presses the key that the function key stands for: F1 left, F2 middle, F3 and Escape right. False, and
    // nothing done, for any other key. The bar may be deleted by what the press does.
    bool pressFor(const QKeyEvent* event);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    OrmuPushButton* left_;
    OrmuPushButton* middle_;
    OrmuPushButton* right_;
};

#endif
