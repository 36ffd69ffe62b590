// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ScreenTest.h"

#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "OrmuPushButton.h"
#include "RES_ICON_Reader.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QTimer>

#include <utility>

void press(SoftKey key)
{
    const auto* keys = ScreenTest::top()->findChild<UTIL_CST*>();
    switch (key) {
    case SoftKey::LEFT:
        return press(Qt::Key_F1);
    case SoftKey::MIDDLE:
        return press(Qt::Key_F2);
    case SoftKey::RIGHT:
        return press(Qt::Key_F3);
    case SoftKey::ESCAPE:
        return press(Qt::Key_Escape);
    case SoftKey::LEFT_CLICK:
        return click(keys->getLeftBtn());
    case SoftKey::MIDDLE_CLICK:
        return click(keys->getMidBtn());
    case SoftKey::RIGHT_CLICK:
        return click(keys->getRightBtn());
    }
}

QImage iconOf(const char* fileName)
{
    QImage icon = RES_ICON_Reader().getIcon(fileName).toImage();
    EXPECT_FALSE(icon.isNull()) << fileName;
    return icon;
}

OnceConnectDlgShows::OnceConnectDlgShows(std::function<void()> act) : act_(std::move(act))
{
    qApp->installEventFilter(this);
}

bool OnceConnectDlgShows::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Show && qobject_cast<SETUP_SIP_ConnectDlg*>(watched) != nullptr)
        if (const auto act = std::exchange(act_, nullptr))
            act();
    return false;
}

ScreenTest::~ScreenTest()
{
    list.reset();
    EXPECT_EQ(top(), nullptr) << "a screen was left";
    SETUP_SIP_Agent::cleanup();
}

SIP_PROFILE_CONTENT ScreenTest::record(const QString& name)
{
    SIP_PROFILE_CONTENT record;
    record.displayName = name;
    record.server = name + ".example.org";
    record.network = "internet";
    record.userID = "me";
    record.password = "secret";
    record.needUserIDPass = false;
    return record;
}

SIP_PROFILE_CONTENT ScreenTest::guardedRecord(const QString& name)
{
    SIP_PROFILE_CONTENT guarded = record(name);
    guarded.needUserIDPass = true;
    return guarded;
}

SIP_PROFILE_CONTENT ScreenTest::lockedRecord(const QString& name)
{
    SIP_PROFILE_CONTENT locked = record(name);
    locked.locked = true;
    return locked;
}

void ScreenTest::store(SIP_PROFILE_CONTENT record)
{
    const QString name = record.displayName;
    profiles()->setProfileInfo(record, name);
}

void ScreenTest::storeProfiles(const QStringList& names)
{
    for (const QString& name : names)
        store(record(name));
}

void ScreenTest::storeProfiles(int count)
{
    for (int i = 0; i < count; ++i)
        store(record(QStringLiteral("Profile number %1").arg(i)));
}

QStringList ScreenTest::names()
{
    const QValueList<QString>& names = profiles()->displayNames;
    return QStringList(names.begin(), names.end());
}

QStringList ScreenTest::namesInFile()
{
    SETUP_SIP_Agent::cleanup();
    return names();
}

SIP_PROFILE_CONTENT ScreenTest::profileInFile(QString group)
{
    SIP_PROFILE_CONTENT record;
    SETUP_SIP_Agent::getProfileByName(group, record);
    return record;
}

void ScreenTest::writeTotal(int total) const
{
    SETUP_SIP_Agent::cleanup();
    writeFile("[ProfileSummary]\nTotalProfile=" + QByteArray::number(total) + "\n");
}

void ScreenTest::closeAll()
{
    list.reset();
    while (QWidget* left = top())
        delete left;
}

void ScreenTest::openList()
{
    SETUP_SIP_Agent::cleanup();
    list.reset(SETUP_SIP_CreateProfileList(nullptr));
    list->createScreen();
    list->show();
    listBox = list->findChild<UTIL_ListBox*>();
    QObject::connect(list.get(), &SETUP_SIP_ProfileListBase::SIPClose, [this] { list.reset(); });
}

bool ScreenTest::isBackAtList() const
{
    return waitFor([this] { return top() == list.get(); });
}

QStringList ScreenTest::rowsOf(const UTIL_ListBox* rows)
{
    QStringList names;
    for (int i = 0; i < rows->count(); ++i)
        names += row(rows, i)->getString(1);
    return names;
}

UTIL_ListBoxItem* ScreenTest::row(const UTIL_ListBox* rows, int index)
{
    return static_cast<UTIL_ListBoxItem*>(rows->item(index));
}

void ScreenTest::goToRow(const UTIL_ListBox* rows, int row)
{
    while (rows->currentItem() != row)
        press(rows->currentItem() < row ? Qt::Key_Down : Qt::Key_Up);
}

QList<int> ScreenTest::checkedRows(const UTIL_ListBox* rows)
{
    QList<int> checked;
    for (int i = 0; i < rows->count(); ++i)
        if (rows->itemChecked(i))
            checked += i;
    return checked;
}

void ScreenTest::chooseEntry(const QString& entry)
{
    auto* menu = open<QPopupMenu>();
    ASSERT_NE(menu, nullptr);
    for (qsizetype i = 0; i < menu->actions().size(); ++i) {
        if (menu->activeAction() != nullptr && menu->text(menu->activeAction()->data().toInt()) == entry) {
            press(Qt::Key_Return);
            return;
        }
        press(Qt::Key_Down);
    }
    press(Qt::Key_Escape);
    FAIL() << "cannot choose " << entry.toStdString();
}

void ScreenTest::chooseInRowMenu(const QString& entry)
{
    const auto chosen = onceOpen<QPopupMenu>([&entry](QPopupMenu&) { chooseEntry(entry); });
    press(Qt::Key_Menu);
}

void ScreenTest::chooseInMenu(const QString& entry)
{
    press(Qt::Key_F1);
    chooseEntry(entry);
}

QStringList ScreenTest::rowMenu()
{
    QStringList entries;
    const auto looked = onceOpen<QPopupMenu>([&entries](QPopupMenu& menu) {
        for (const QAction* action : menu.actions()) {
            const int id = action->data().toInt();
            entries += QString("%1 %2%3").arg(id).arg(menu.text(id), action->isEnabled() ? "" : " (off)");
        }
        press(Qt::Key_F3);
    });
    press(Qt::Key_Menu);
    return entries;
}

void ScreenTest::inDeleteDialog(const std::function<void(QDialog&)>& act)
{
    const auto acted = onceOpen<SETUP_SIP_ProfileDelConfirmDlg>(act);
    chooseInMenu("Delete Profiles");
}

void ScreenTest::invoke(QObject* screen, const char* slot, int id)
{
    ASSERT_TRUE(QMetaObject::invokeMethod(screen, slot, Q_ARG(int, id)));
}

QList<int> ScreenTest::requests()
{
    QList<int> sent;
    for (const _SIPD_MSG_PROFILE_S& request : daemon().requests())
        sent += static_cast<int>(request.request);
    return sent;
}

QTimer* ScreenTest::timerOf(const SETUP_SIP_ConnectDlg* dialog)
{
    return dialog->findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
}

void ScreenTest::finishConnecting()
{
    constexpr int FAST_POLL_MS = 5;
    const QPointer<SETUP_SIP_ConnectDlg> dialog = open<SETUP_SIP_ConnectDlg>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(waitFor([&dialog] {
        QTimer* timer = dialog == nullptr ? nullptr : timerOf(dialog);
        if (timer != nullptr && timer->isActive() && timer->interval() != FAST_POLL_MS)
            timer->setInterval(FAST_POLL_MS);
        return dialog == nullptr;
    }));
}

QList<ShownBox> ScreenTest::dismissNotice()
{
    const BoxAnswers answers({Qt::Key_F2});
    finishConnecting();
    return answers.boxes();
}

Scenario ScreenTest::withStatus(uint32_t status, uint32_t disconnectAck, uint32_t connectAck)
{
    Scenario scenario;
    scenario.status = status;
    scenario.disconnectAck = disconnectAck;
    scenario.connectAck = connectAck;
    return scenario;
}

void ScreenTest::fillPrompt(const QString& user, const QString& password)
{
    auto* prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
    ASSERT_NE(prompt, nullptr);
    const auto* first = prompt->findChild<OrmuMultiLineEdit*>();
    for (int i = 0; i < 3 && !first->hasFocus(); ++i)
        press(Qt::Key_Up);
    for (const QString& text : {user, password}) {
        press(Qt::Key_A, Qt::ControlModifier);
        press(Qt::Key_Delete);
        type(text);
        press(Qt::Key_Down);
    }
}

void ScreenTest::submitPrompt(const QString& user, const QString& password)
{
    fillPrompt(user, password);
    press(Qt::Key_F2);
}

void ScreenTest::hideBoxOf(const std::function<void()>& act)
{
    const auto hidden = onceOpen<OrmuMessageBox>([](OrmuMessageBox& box) { box.hide(); });
    act();
}
