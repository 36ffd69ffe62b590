#ifndef PROFILESCREENTEST_H
#define PROFILESCREENTEST_H

#include "OrmuMainWidget.h"
#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "SETUP_SIP_Agent.h"
#include "ScreenDriver.h"
#include "SettingsFixture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QTimer>

// A profile that can be saved as it stands.
inline SIP_PROFILE_CONTENT usableRecord(const QString& name)
{
    SIP_PROFILE_CONTENT record;
    record.displayName = name;
    record.server = QStringLiteral("sip.example.org");
    record.userID = QStringLiteral("alice");
    record.password = QStringLiteral("secret");
    return record;
}

inline void store(SIP_PROFILE_CONTENT record)
{
    SETUP_SIP_Agent::instance()->setProfileInfo(record, record.displayName);
}

inline void storeProfile(const QString& name)
{
    store(usableRecord(name));
}

inline void storeProfiles(int count)
{
    for (int i = 0; i < count; ++i)
        storeProfile(QStringLiteral("Profile number %1").arg(i));
}

inline QStringList profileNames()
{
    const QValueList<QString>& names = SETUP_SIP_Agent::instance()->displayNames;
    return QStringList(names.begin(), names.end());
}

// What the file holds.
inline SIP_PROFILE_CONTENT profileInFile(QString group)
{
    SIP_PROFILE_CONTENT record;
    SETUP_SIP_Agent::getProfileByName(group, record);
    return record;
}

// What a message box showed.
struct Message
{
    explicit Message(const OrmuMessageBox& box)
        : text(box.text()), buttons({box.buttonText(0), box.buttonText(1), box.buttonText(2)}),
          icon(box.iconPixmap().toImage())
    {
    }
    QString text;
    QStringList buttons;
    QImage icon;
};

// Fails the test for each message box that opens while this lives, and closes it: nobody waits for its
// answer.
class NoMessage
{
public:
    NoMessage()
    {
        QObject::connect(&timer_, &QTimer::timeout, [] {
            if (auto* box = ScreenDriver::open<OrmuMessageBox>()) {
                ADD_FAILURE() << qPrintable(box->text());
                box->reject();
            }
        });
        timer_.start(1);
    }

private:
    QTimer timer_;
};

// The parts of an open edit screen, each found by its place on the form.
struct EditForm
{
    explicit EditForm(const OrmuMainWidget* screen)
        : contents(screen->getContentWidget()->widget()), name(at<OrmuMultiLineEdit>(30)),
          server(at<OrmuMultiLineEdit>(90)), port(at<OrmuMultiLineEdit>(150)),
          user(at<OrmuMultiLineEdit>(210)), password(at<OrmuMultiLineEdit>(270)), network(at<QComboBox>(330)),
          autoConnect(at<QCheckBox>(360)), softKeys(static_cast<UTIL_CST*>(screen->getCSTWidget()))
    {
    }

    // Null, and a failure, when there is not exactly one such widget.
    template <class Widget>
    Widget* at(int y) const
    {
        QList<Widget*> found = contents->findChildren<Widget*>(QString(), Qt::FindDirectChildrenOnly);
        found.removeIf([y](const Widget* widget) { return widget->pos() != QPoint(0, y); });
        EXPECT_EQ(found.size(), 1) << y;
        return found.value(0);
    }

    QList<QWidget*> inOrder() const { return {name, server, port, user, password, network, autoConnect}; }

    // Moves the focus with the arrow keys.
    void moveTo(const QWidget* entry) const
    {
        for (int i = 0; i < 7 && !entry->hasFocus(); ++i)
            ScreenDriver::press(Qt::Key_Down);
        EXPECT_TRUE(entry->hasFocus());
    }

    // Types the text over what the entry holds, by keys alone.
    void enter(const OrmuMultiLineEdit* entry, const QString& text) const
    {
        moveTo(entry);
        ScreenDriver::press(Qt::Key_A, Qt::ControlModifier);
        ScreenDriver::press(Qt::Key_Backspace);
        ScreenDriver::type(text);
    }

    void enterAll(const QString& profile) const
    {
        enter(name, profile);
        enter(server, "sip.example.org");
        enter(user, "alice");
        enter(password, "secret");
    }

    QWidget* contents;
    OrmuMultiLineEdit* name;
    OrmuMultiLineEdit* server;
    OrmuMultiLineEdit* port;
    OrmuMultiLineEdit* user;
    OrmuMultiLineEdit* password;
    QComboBox* network;
    QCheckBox* autoConnect;
    UTIL_CST* softKeys;
};

// A test of a screen that needs no daemon, with a store of its own.
class ProfileScreenTest : public SettingsTest
{
protected:
    ~ProfileScreenTest() override { SETUP_SIP_Agent::cleanup(); }

    // The names in the settings file, in the order of the store that reads it next.
    static QStringList namesInFile()
    {
        SETUP_SIP_Agent::cleanup();
        return profileNames();
    }
};

#endif
