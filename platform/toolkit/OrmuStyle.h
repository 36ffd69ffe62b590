// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUSTYLE_H
#define ORMUSTYLE_H

#include "OrmuPlatformExport.h"

#include <QProxyStyle>

class QStyleOptionSlider;

// The phone's skin: colours, font and focus marks.
class ORMU_PLATFORM_EXPORT OrmuStyle : public QProxyStyle
{
    Q_OBJECT

public:
    // Gives the application this skin, unless it has it already.
    static void install();

    // The size of a text entry and of a combo box.
    static QSize entrySize();
    static QColor screenColor();
    static QColor focusColor();
    // Dims the picture.
    static void dim(QPainter* painter, const QRect& rect);
    // The panel of a dialog, and its rectangle with the frame.
    static void drawPanel(QPainter* painter, const QRect& panel);
    static QRect framed(const QRect& panel);
    // The strip behind a title, and the bar behind the soft keys.
    static void drawTitleStrip(QPainter* painter, const QRect& rect);
    static void drawSoftKeyBar(QPainter* painter, const QRect& rect);

    int pixelMetric(PixelMetric metric, const QStyleOption* option, const QWidget* widget) const override;
    int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                  QStyleHintReturn* returned) const override;
    QRect subElementRect(SubElement element, const QStyleOption* option,
                         const QWidget* widget) const override;
    QRect subControlRect(ComplexControl control, const QStyleOptionComplex* option, SubControl part,
                         const QWidget* widget) const override;
    QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& contents,
                           const QWidget* widget) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
    void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                            const QWidget* widget) const override;
    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget) const override;

    // Cuts a text of several lines at the end when it does not fit.
    void drawItemText(QPainter* painter, const QRect& rect, int flags, const QPalette& colors, bool enabled,
                      const QString& text, QPalette::ColorRole textRole) const override;

private:
    OrmuStyle();
    void drawScrollBar(QPainter* painter, const QStyleOptionSlider& option, const QWidget* widget) const;
};

#endif
