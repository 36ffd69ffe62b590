#ifndef ORMUGLOBAL_H
#define ORMUGLOBAL_H

#include <QRect>
#include <QSize>

// The places of the phone's screen, in pixels. Rectangles are in the screen's coordinates.
class OrmuGlobal
{
public:
    static QSize getScreenSize();
    // What a full-screen widget has above its soft keys.
    static QRect getContentR();
    // The soft-key bar.
    static QRect getCstR();
    // A large dialog's panel, above the soft keys, and the title strip within it.
    static QRect getDlgLargeR();
    static QRect getDlgTitleLR();
    // A small dialog's panel. One that has more to show is higher.
    static QRect getDlgSmallR();
    // inner, in the coordinates of outer.
    static QRect diffRect(const QRect& outer, const QRect& inner);
};

#endif
