#ifndef ORMUAPPLICATION_H
#define ORMUAPPLICATION_H

#include <QApplication>

// The application of a program on the phone: it wears the phone's skin.
class OrmuApplication : public QApplication
{
    Q_OBJECT

public:
    OrmuApplication(int& argc, char** argv);

    // What the pointer does on a widget: 0, the default, is plain; in mode 1 a list takes a long press and
    // the Menu key for the right button.
    static void setMouseMode(QWidget* widget, int mode);
    static int mouseMode(const QWidget* widget);
};

#endif
