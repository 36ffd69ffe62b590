#include "ScreenTour.h"

#include "OrmuPhoneWindow.h"

#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QPixmap>

namespace {
void press(Qt::Key key)
{
    QWidget* receiver = QApplication::activePopupWidget();
    if (receiver == nullptr)
        receiver = OrmuPhoneWindow::instance()->focusWidget();
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease})
        QApplication::postEvent(receiver, new QKeyEvent(type, key, Qt::NoModifier));
    QApplication::processEvents();
}

class Album
{
public:
    explicit Album(const QString& directory) : directory_(directory) { good_ = directory_.mkpath("."); }

    void take(const char* name)
    {
        QApplication::processEvents();
        const QString path = directory_.filePath(QLatin1String(name) + QLatin1String(".png"));
        if (OrmuPhoneWindow::instance()->picture().save(path))
            return;
        good_ = false;
        qCritical("cannot write %s", qUtf8Printable(path));
    }

    bool good() const { return good_; }

private:
    const QDir directory_;
    bool good_ = false;
};
} // namespace

bool takeScreenTour(const QString& directory)
{
    Album album(directory);
    album.take("home");
    press(Qt::Key_Return);
    album.take("profile-list");
    press(Qt::Key_Down);
    press(Qt::Key_F1);
    album.take("profile-list-menu");
    press(Qt::Key_F3);
    press(Qt::Key_F3);
    return album.good();
}
