// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ScreenTour.h"

#include "HomeScreen.h"
#include "OrmuPhoneWindow.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QKeyEvent>
#include <QTimer>

#include <functional>

namespace {

constexpr int TIMEOUT_MS = 120000;
constexpr int STEP_MS = 20;

// Takes its steps one by one from the running event loop, which may be that of a dialog or a menu.
class Tour : public QObject
{
public:
    explicit Tour(const QString& directory) : directory_(directory)
    {
        add([] { return OrmuPhoneWindow::instance()->isActiveWindow(); });
    }

    bool take()
    {
        good_ = directory_.mkpath(".");
        QTimer::singleShot(0, this, &Tour::takeStep);
        loop_.exec();
        return good_;
    }

    // Each of these adds a step.
    void press(Qt::Key key, int times = 1)
    {
        for (int i = 0; i < times; ++i)
            addKey(key, QString());
    }

    void type(const QString& text)
    {
        for (const QChar character : text)
            addKey(Qt::Key_unknown, character);
    }

    // Waits until a screen, dialog or menu of that class has the keys.
    void await(const char* className)
    {
        add([className] {
            const QWidget* popup = QApplication::activePopupWidget();
            const QWidget* top = popup != nullptr ? popup : OrmuPhoneWindow::instance()->topScreen();
            return top != nullptr && top->inherits(className);
        });
    }

    void picture(const char* name)
    {
        add([this, name] {
            const QString path = directory_.filePath(QLatin1String(name) + QLatin1String(".png"));
            if (!OrmuPhoneWindow::instance()->picture().save(path))
                fail("cannot write " + path);
            return true;
        });
    }

    void appendToSettings(const char* text)
    {
        add([this, text] {
            QFile file(HomeScreen::profileFile());
            if (!file.open(QIODevice::Append) || file.write(text) < 0)
                fail("cannot write " + file.fileName());
            return true;
        });
    }

private:
    // Called until it returns true.
    using Step = std::function<bool()>;

    void add(const Step& step) { steps_.append(step); }

    void addKey(Qt::Key key, const QString& text)
    {
        add([key, text] {
            QWidget* receiver = QApplication::activePopupWidget();
            if (receiver == nullptr)
                receiver = OrmuPhoneWindow::instance()->focusWidget();
            for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease})
                QApplication::postEvent(receiver, new QKeyEvent(type, key, Qt::NoModifier, text));
            return true;
        });
    }

    void fail(const QString& why)
    {
        good_ = false;
        qCritical("%s", qUtf8Printable(why));
    }

    void takeStep()
    {
        if (!waiting_.isValid())
            waiting_.start();
        if (steps_.first()()) {
            steps_.removeFirst();
            waiting_.invalidate();
        } else if (waiting_.elapsed() > TIMEOUT_MS) {
            fail(QStringLiteral("the next screen does not open, %1 steps before the end").arg(steps_.size()));
            steps_.clear();
        }
        if (steps_.isEmpty())
            loop_.quit();
        else
            QTimer::singleShot(STEP_MS, this, &Tour::takeStep);
    }

    const QDir directory_;
    QList<Step> steps_;
    QElapsedTimer waiting_;
    QEventLoop loop_;
    bool good_ = false;
};

void tourList(Tour& tour)
{
    tour.picture("home");
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileList");
    tour.picture("profile-list");
    tour.press(Qt::Key_F1);
    tour.await("QPopupMenu");
    tour.picture("profile-list-menu");
}

void tourNewProfile(Tour& tour)
{
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileEdit");
    tour.picture("new-profile");
    tour.press(Qt::Key_F2);
    tour.await("OrmuMessageBox");
    tour.picture("new-profile-value-missing");
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileEdit");
    tour.type("Home");
    tour.press(Qt::Key_F2);
    tour.await("OrmuMessageBox");
    tour.picture("new-profile-name-exists");
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileEdit");
    tour.press(Qt::Key_Down, 6);
    tour.picture("new-profile-end");
    tour.press(Qt::Key_F3);
    tour.await("OrmuMessageBox");
    tour.picture("new-profile-exit");
    tour.press(Qt::Key_F1);
    tour.await("SETUP_SIP_ProfileList");
}

void tourDeletion(Tour& tour)
{
    tour.press(Qt::Key_F1);
    tour.await("QPopupMenu");
    tour.press(Qt::Key_Down);
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileDelConfirmDlg");
    tour.picture("delete-profiles");
    tour.press(Qt::Key_F3);
    tour.await("SETUP_SIP_ProfileList");
}

// Connects the first profile from its row's menu.
void tourConnection(Tour& tour)
{
    tour.press(Qt::Key_Menu);
    tour.await("QPopupMenu");
    tour.picture("row-menu");
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_UserIDAndPasswordDlg");
    tour.type("anna");
    tour.press(Qt::Key_Down);
    tour.type("wrong");
    tour.picture("credentials");
    tour.press(Qt::Key_F2);
    tour.await("OrmuMessageBox");
    tour.picture("credentials-incorrect");
    tour.press(Qt::Key_F1);
    tour.await("SETUP_SIP_UserIDAndPasswordDlg");
    tour.press(Qt::Key_Backspace, 5);
    tour.type("secret");
    tour.press(Qt::Key_F2);
    tour.await("SETUP_SIP_ConnectDlg");
    tour.picture("connecting");
    tour.await("OrmuMessageBox");
    tour.picture("connected");
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileList");
}

// The first profile is connected now.
void tourDetail(Tour& tour)
{
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileDetail");
    tour.picture("profile-detail");
    tour.press(Qt::Key_F1);
    tour.await("QPopupMenu");
    tour.picture("profile-detail-menu");
    tour.press(Qt::Key_Return);
    tour.await("OrmuMessageBox");
    tour.picture("disconnect-question");
    tour.press(Qt::Key_F1);
    tour.await("SETUP_SIP_ConnectDlg");
    tour.picture("disconnecting");
    tour.await("OrmuMessageBox");
    tour.picture("disconnected");
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileDetail");
    tour.press(Qt::Key_F3);
    tour.await("SETUP_SIP_ProfileList");
    tour.press(Qt::Key_F3);
    tour.await("HomeScreen");
}

void tourChoice(Tour& tour)
{
    tour.press(Qt::Key_Down);
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileSelectDlg");
    tour.press(Qt::Key_Down);
    tour.press(Qt::Key_Return);
    tour.picture("choose-profile");
    tour.press(Qt::Key_F1);
    tour.await("OrmuMessageBox");
    tour.picture("chosen-profile");
    tour.press(Qt::Key_Return);
    tour.await("HomeScreen");
}

// The numbers have a gap after the deletion of the first profile. The phone asks no question.
void tourReopening(Tour& tour)
{
    tour.press(Qt::Key_Up);
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileList");
    tour.press(Qt::Key_F1);
    tour.await("QPopupMenu");
    tour.press(Qt::Key_Down);
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileDelConfirmDlg");
    tour.press(Qt::Key_Return);
    tour.press(Qt::Key_F1);
    tour.await("SETUP_SIP_ProfileList");
    tour.press(Qt::Key_F3);
    tour.await("HomeScreen");
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileList");
    tour.picture("profiles-after-deletion");
    tour.press(Qt::Key_F3);
    tour.await("HomeScreen");
}

// The file is damaged as by an edit by hand.
void tourRepair(Tour& tour)
{
    tour.appendToSettings("\n[Profile4]\nServer=example.com\nUserID=anna\noops\n");
    tour.press(Qt::Key_Return);
    tour.await("OrmuMessageBox");
    tour.picture("profiles-need-repair");
    tour.press(Qt::Key_F1);
    tour.await("OrmuMessageBox");
    tour.picture("profiles-repaired");
    tour.press(Qt::Key_Return);
    tour.await("SETUP_SIP_ProfileList");
    tour.press(Qt::Key_F3);
    tour.await("HomeScreen");
}

} // namespace

bool takeScreenTour(const QString& directory)
{
    Tour tour(directory);
    tourList(tour);
    tourNewProfile(tour);
    tourDeletion(tour);
    tourConnection(tour);
    tourDetail(tour);
    tourChoice(tour);
    tourReopening(tour);
    tourRepair(tour);
    return tour.take();
}
