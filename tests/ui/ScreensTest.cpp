// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

// Facts of the same kind about every screen.
#include "OrmuPushButton.h"
#include "OrmuStyle.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_ProfileList.h"
#include "SETUP_SIP_ProfileSelectDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "ScreenTest.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMetaMethod>

#include <gmock/gmock.h>

namespace {

// One screen class: how it is made, and its expected facts.
struct ScreenCase
{
    const QMetaObject* meta;
    const char* superClass;
    QStringList signalsInOrder;
    QStringList slotsInOrder; // with their access
    QWidget* (*make)(QWidget* parent, const char* name);
    QStringList softKeys; // left, middle, right; "-" before the text of a disabled key
    QStringList contents; // class, place and text of each widget, in the order of their making
};

void PrintTo(const ScreenCase& tested, std::ostream* out)
{
    *out << tested.meta->className();
}

QStringList methodsOf(const QMetaObject& meta, QMetaMethod::MethodType type)
{
    QStringList methods;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        if (method.methodType() != type)
            continue;
        const char* access = method.access() == QMetaMethod::Protected ? "protected " : "public ";
        methods += (type == QMetaMethod::Slot ? access : "") + QString(method.methodSignature());
    }
    return methods;
}

QStringList softKeysOf(const QWidget* screen)
{
    const auto* bar = screen->findChild<UTIL_CST*>();
    QStringList keys;
    for (const OrmuPushButton* key : {bar->getLeftBtn(), bar->getMidBtn(), bar->getRightBtn()})
        keys +=
            (key->isEnabled() ? "" : "-") + (key->resourceID().isEmpty() ? key->text() : key->resourceID());
    return keys;
}

QStringList contentsOf(const QWidget* screen)
{
    QWidget* content = nullptr;
    if (const auto* widget = qobject_cast<const OrmuMainWidget*>(screen))
        content = widget->getContentWidget()->widget();
    else if (const auto* dialog = qobject_cast<const UTIL_Dialog*>(screen))
        content = dialog->getDlgContent();
    QStringList contents;
    for (const QWidget* part : content->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
        const QRect place = part->geometry();
        QString text = part->property("text").toString();
        contents += QString("%1 %2,%3 %4x%5 %6")
                        .arg(part->metaObject()->className())
                        .arg(place.x())
                        .arg(place.y())
                        .arg(place.width())
                        .arg(place.height())
                        .arg(text)
                        .trimmed();
    }
    return contents;
}

// A profile whose texts differ.
SIP_PROFILE_CONTENT shownProfile()
{
    SIP_PROFILE_CONTENT profile = ScreenTest::record("A");
    profile.portNum = 5099;
    return profile;
}

QWidget* makeList(QWidget* parent, const char* name)
{
    auto* list = new SETUP_SIP_ProfileList(parent, name);
    list->createScreen();
    return list;
}

QWidget* makePrompt(QWidget* parent, const char* name)
{
    QString user("user");
    QString password("typed");
    SIP_PROFILE_CONTENT profile;
    return new SETUP_SIP_UserIDAndPasswordDlg(user, password, false, profile, parent, name);
}

QWidget* makeConnectDlg(QWidget* parent, const char* name)
{
    QString profile("A");
    return new SETUP_SIP_ConnectDlg(SETUP_SIP_ConnectDlg::OP_CONNECT, profile, parent, name);
}

QWidget* makeSelectDlg(QWidget* parent, const char* name)
{
    QString profile;
    return new SETUP_SIP_ProfileSelectDlg(profile, parent, name);
}

template <class Screen>
QWidget* makeFor(QWidget* parent, const char* name)
{
    return new Screen("A", parent, name);
}

template <class Screen>
QWidget* makeOf(QWidget* parent, const char* name)
{
    return new Screen(parent, name);
}

const ScreenCase SCREENS[] = {
    {&SETUP_SIP_ProfileListBase::staticMetaObject,
     "OrmuMainWidget",
     {"SIPClose()"},
     {},
     makeOf<SETUP_SIP_ProfileListBase>,
     {},
     {}},
    {&SETUP_SIP_ProfileList::staticMetaObject,
     "SETUP_SIP_ProfileListBase",
     {},
     {"protected menuItemActivated(int)", "protected contentMenuItemActivated(int)",
      "protected editDone(bool)", "protected detailDone(bool)",
      "protected itemClicked(int,QListBoxItem*,QPoint)", "protected showContentMenu(QListBoxItem*,QPoint)",
      "protected userIDPasswordDone(bool)", "protected connectDone(bool)",
      "protected customEvent(QCustomEvent*)"},
     makeList,
     {"CST_Menu", "-", "CST_Back"},
     {"QLabel 0,0 240x30 SIP Profile", "UTIL_ListBox 0,30 240x260"}},
    {&SETUP_SIP_ConnectDlg::staticMetaObject,
     "UTIL_ProgressDialog",
     {"connectDone(bool)"},
     {"protected slotProgress()", "protected slotCancelled()"},
     makeConnectDlg,
     {},
     {}},
    {&SETUP_SIP_ProfileEdit::staticMetaObject,
     "OrmuMainWidget",
     {"editDone(bool)"},
     {"protected slotSave()", "protected slotQuit()", "protected textChanged()"},
     makeFor<SETUP_SIP_ProfileEdit>,
     {"-", "Save", "CST_Back"},
     {"QLabel 0,0 220x30 Profile name:", "OrmuMultiLineEdit 0,30 220x30 A",
      "QLabel 0,60 220x30 Server address:", "OrmuMultiLineEdit 0,90 220x30 A.example.org",
      "QLabel 0,120 220x30 Port:", "OrmuMultiLineEdit 0,150 220x30 5099",
      "QLabel 0,180 220x30 User Name:", "OrmuMultiLineEdit 0,210 220x30 me",
      "QLabel 0,240 220x30 Password:", "OrmuMultiLineEdit 0,270 220x30 secret",
      "QLabel 0,300 220x30 Internet Profile:", "QComboBox 0,330 220x30",
      "QCheckBox 0,360 220x60 Auto connect when power on"}},
    {&SETUP_SIP_ProfileDetail::staticMetaObject,
     "OrmuMainWidget",
     {"detailDone(bool)"},
     {"protected menuItemActivated(int)", "protected slotSetAsDefault()", "protected slotBack()",
      "protected editDone(bool)", "protected userIDPasswordDone(bool)", "protected connectDone(bool)"},
     makeFor<SETUP_SIP_ProfileDetail>,
     {"CST_Menu", "Set as default", "CST_Back"},
     {"QLabel 0,0 220x30 Profile name:A", "QLabel 0,30 220x30 Server address:",
      "QLabel 0,60 220x30 A.example.org", "QLabel 0,90 220x30 Port:5099", "QLabel 0,120 220x30 User Name:me",
      "QLabel 0,150 220x30 Password:**********", "QLabel 0,180 220x30 Internet Profile:internet",
      "QLabel 0,210 220x30 Connect:Auto connect when power on"}},
    {&SETUP_SIP_UserIDAndPasswordDlg::staticMetaObject,
     "OrmuMainWidget",
     {"inputDone(bool)"},
     {"protected slotOK()", "protected slotQuit()"},
     makePrompt,
     {"-", "OK", "CST_Back"},
     {"QLabel 0,0 220x30 User Name:", "OrmuMultiLineEdit 0,30 220x30 user", "QLabel 0,60 220x30 Password:",
      "OrmuMultiLineEdit 0,90 220x30 typed", "QCheckBox 0,120 220x60 Remember the password"}},
    {&SETUP_SIP_ProfileDelConfirmDlg::staticMetaObject,
     "UTIL_Dialog",
     {},
     {"public deleteProfiles()", "public selectAll(bool)"},
     makeOf<SETUP_SIP_ProfileDelConfirmDlg>,
     {"OK", "-", "Cancel"},
     {"QLabel 0,0 224x28 Delete", "QCheckBox 155,0 69x28 All", "UTIL_ListBox 0,28 224x246"}},
    {&SETUP_SIP_ProfileSelectDlg::staticMetaObject,
     "UTIL_Dialog",
     {},
     {},
     makeSelectDlg,
     {"OK", "-", "Cancel"},
     {"QLabel 0,0 224x28 Select Profile", "UTIL_ListBox 0,28 224x246"}},
};

class EveryScreen : public ScreenTest, public testing::WithParamInterface<ScreenCase>
{
protected:
    EveryScreen() { store(shownProfile()); }

    std::unique_ptr<QWidget> made(QWidget* parent = nullptr, const char* name = nullptr) const
    {
        return std::unique_ptr<QWidget>(GetParam().make(parent, name));
    }
};

TEST_P(EveryScreen, HasItsSignalsAndSlotsInTheirOrder)
{
    const QMetaObject& meta = *GetParam().meta;
    EXPECT_STREQ(meta.superClass()->className(), GetParam().superClass);
    EXPECT_EQ(methodsOf(meta, QMetaMethod::Signal), GetParam().signalsInOrder);
    EXPECT_EQ(methodsOf(meta, QMetaMethod::Slot), GetParam().slotsInOrder);
    EXPECT_EQ(methodsOf(meta, QMetaMethod::Method), QStringList());
}

TEST_P(EveryScreen, TakesItsParentAndItsName)
{
    QWidget parent;
    const auto child = made(&parent, "a name");
    EXPECT_EQ(child->metaObject(), GetParam().meta);
    EXPECT_EQ(child->parentWidget(), &parent);
    EXPECT_EQ(child->objectName(), "a name");
    const auto alone = made();
    EXPECT_EQ(alone->parentWidget(), nullptr);
    EXPECT_EQ(alone->objectName(), "");
}

TEST_P(EveryScreen, PlacesItsSoftKeysAndItsContents)
{
    const auto screen = made();
    EXPECT_EQ(screen->windowTitle(), "");
    if (!GetParam().softKeys.isEmpty()) {
        EXPECT_EQ(softKeysOf(screen.get()).join(u'|').toStdString(),
                  GetParam().softKeys.join(u'|').toStdString());
        EXPECT_EQ(contentsOf(screen.get()).join(u'\n').toStdString(),
                  GetParam().contents.join(u'\n').toStdString());
    }
    if (qobject_cast<UTIL_Dialog*>(screen.get()) != nullptr) {
        EXPECT_EQ(screen->findChild<QLabel*>()->indent(), 5);
    }
}

INSTANTIATE_TEST_SUITE_P(Of, EveryScreen, testing::ValuesIn(SCREENS),
                         [](const auto& tested) { return std::string(tested.param.meta->className()); });

} // namespace
