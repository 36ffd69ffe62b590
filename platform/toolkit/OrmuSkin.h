#ifndef ORMUSKIN_H
#define ORMUSKIN_H

#include <QPixmap>

// The pixmaps of the phone's skin.
class OrmuSkin
{
public:
    static const OrmuSkin* skin();

    // The pixmap of that name, such as "Dialog_Exclamatory_Mark"; an empty one when there is none.
    QPixmap pixmap(const QString& name) const;
};

#endif
