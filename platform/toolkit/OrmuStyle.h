#ifndef ORMUSTYLE_H
#define ORMUSTYLE_H

#include <QProxyStyle>

// The phone's skin: colours, font and the marks of focus.
class OrmuStyle : public QProxyStyle
{
    Q_OBJECT

public:
    // Dresses the running application; nothing when it wears the skin already.
    static void install();

    static QColor screenColor();
    static QColor focusColor();
    // What lies beneath a dialog, dimmed, and the dialog's panel.
    static void drawDialog(QPainter* painter, const QRect& screen, const QRect& panel);
    // The strip behind a title, and the bar behind the soft keys.
    static void drawTitleStrip(QPainter* painter, const QRect& rect);
    static void drawSoftKeyBar(QPainter* painter, const QRect& rect);

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;

private:
    OrmuStyle();
};

#endif
