// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "LastSelect.h"
#include "OrmuPhoneWindow.h"
#include "SETUP_SET_Manager.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileSelectDlg.h"
#include "SampleProfiles.h"
#include "ScreenTest.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QDialog>
#include <QPointer>
#include <QRegularExpression>
#include <QSet>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <QWindow>

#include <gmock/gmock.h>

#include <functional>
#include <iostream>
#include <random>
#include <utility>

namespace {
constexpr int ACTIONS = 20000;
constexpr int ACTIONS_BETWEEN_CHECKS = 100;

int loopLevel()
{
    return QThread::currentThread()->loopLevel();
}

// Random keys, clicks and deletions, over a daemon that answers at random. The same seed gives the same run;
// the environment variable ORMU_RANDOM_SEED sets another one.
class RandomUse : public ScreenTest
{
protected:
    RandomUse()
    {
        const int given = qEnvironmentVariableIntValue("ORMU_RANDOM_SEED");
        seed = given == 0 ? 20260101U : static_cast<unsigned>(given);
        std::cout << "ORMU_RANDOM_SEED=" << seed << std::endl;
        random.seed(seed);
    }
    ~RandomUse() override { closeAll(); }

    unsigned upTo(unsigned count) { return static_cast<unsigned>(random() % count); }
    bool oneIn(unsigned count) { return upTo(count) == 0; }
    template <class T, size_t N>
    T oneOf(const T (&choices)[N])
    {
        return choices[upTo(N)];
    }

    void playAnything()
    {
        Scenario scenario;
        for (int i = 0; i < 997; ++i)
            scenario.acksInTurn.push_back(oneIn(2) ? 0 : upTo(5));
        playScenario(scenario);
    }

    // Opens the list over these profiles, as the host does when no screen is open.
    void beginAgain()
    {
        closeAll();
        SETUP_SIP_Agent::cleanup();
        writeFile("");
        storeProfiles({"A", "B & C"});
        store(lockedRecord("locked"));
        store(guardedRecord("asks"));
        SETUP_SIP_Agent::saveLastInputUserIDPassword("me", "secret", true);
        if (oneIn(4)) {
            QString group("Profile1");
            SETUP_SIP_ProfileSelectDlg dialog(group, nullptr, nullptr);
            actWithin([&dialog] { dialog.exec(); });
        }
        openList();
        ++opened;
    }

    // Runs the action. If it opens an event loop, further actions follow in that loop.
    void actWithin(const std::function<void()>& action)
    {
        const int level = loopLevel();
        QTimer inside;
        QObject::connect(&inside, &QTimer::timeout, [this, level] {
            if (loopLevel() <= level)
                return;
            if (const auto lift = std::exchange(liftButton, nullptr))
                lift();
            else if (done < ACTIONS)
                act();
            else
                actWithin([this] { giveUp(); }); // it may open another loop
        });
        inside.start(0);
        action();
    }

    // Closes the open screen, or answers it.
    void giveUp()
    {
        if (list == nullptr && qobject_cast<QDialog*>(top()) == nullptr)
            delete top();
        else
            press(oneIn(2) ? Qt::Key_Escape : Qt::Key_F1);
    }

    void act()
    {
        if (++done % ACTIONS_BETWEEN_CHECKS == 0)
            checkStoreAndFile();
        actWithin([this] { actOnce(); });
        if (top() != nullptr)
            visited += top()->metaObject()->className();
        const auto dialogs = OrmuPhoneWindow::instance()->findChildren<SETUP_SIP_ConnectDlg*>();
        for (const auto* dialog : dialogs)
            timerOf(dialog)->stop(); // its ticks are actions too
        if (dialogs.isEmpty()) {
            EXPECT_TRUE(daemon().waitForClosed(daemon().accepted()));
        }
    }

    void actOnce()
    {
        const unsigned choice = upTo(1000);
        if (choice < 2)
            list.reset(); // as the host may at any time
        else if (choice < 500)
            pressAnyKey();
        else if (choice < 600)
            type(oneOf({"a", "Z", "19", " ", "&", "<", "%,", "\u00e9"}));
        else if (choice < 760)
            clickAnywhere(oneIn(6) ? Qt::RightButton : Qt::LeftButton);
        else if (choice < 860)
            chooseAnyEntry();
        else if (choice < 880)
            longPressAnywhere();
        else
            tick();
    }

    void pressAnyKey()
    {
        const Qt::Key keys[] = {
            Qt::Key_Up,     Qt::Key_Down,      Qt::Key_Down,  Qt::Key_Down,   Qt::Key_Left, Qt::Key_Right,
            Qt::Key_Return, Qt::Key_Return,    Qt::Key_Enter, Qt::Key_Select, Qt::Key_F1,   Qt::Key_F1,
            Qt::Key_F2,     Qt::Key_F2,        Qt::Key_F3,    Qt::Key_Escape, Qt::Key_Menu, Qt::Key_Menu,
            Qt::Key_Space,  Qt::Key_Backspace, Qt::Key_Home,  Qt::Key_End,    Qt::Key_Tab,  Qt::Key_Delete};
        press(oneOf(keys));
    }

    QPoint anywhere(const QWidget* widget)
    {
        return {1 + static_cast<int>(upTo(static_cast<unsigned>(widget->width() - 1))),
                1 + static_cast<int>(upTo(static_cast<unsigned>(widget->height() - 1)))};
    }

    void clickAnywhere(Qt::MouseButton button)
    {
        QWidget* popup = QApplication::activePopupWidget();
        QWidget* target = popup != nullptr ? popup : OrmuPhoneWindow::instance();
        pressAndLift(target->windowHandle(), button, anywhere(target));
    }

    // A press may open a menu: the button is released there, before the next action.
    void pressAndLift(QWindow* window, Qt::MouseButton button, const QPoint& place)
    {
        liftButton = [window = QPointer<QWindow>(window), button, place] {
            if (window != nullptr)
                QTest::mouseRelease(window, button, Qt::NoModifier, place);
        };
        QTest::mousePress(window, button, Qt::NoModifier, place);
        if (const auto lift = std::exchange(liftButton, nullptr))
            lift();
    }

    void chooseAnyEntry()
    {
        auto* menu = open<QPopupMenu>();
        if (menu == nullptr) {
            press(oneIn(2) ? Qt::Key_F1 : Qt::Key_Menu);
            return;
        }
        const auto entries = menu->actions();
        QAction* entry = entries[upTo(static_cast<unsigned>(entries.size()))];
        const QPoint place = menu->actionGeometry(entry).center();
        pressAndLift(menu->windowHandle(), Qt::LeftButton, place);
    }

    void longPressAnywhere()
    {
        if (list == nullptr || top() != list.get() || QApplication::activePopupWidget() != nullptr)
            return;
        QWindow* window = OrmuPhoneWindow::instance()->windowHandle();
        const QPoint place = listBox->viewport()->mapTo(listBox->window(), anywhere(listBox->viewport()));
        bool over = false;
        liftButton = [window, place] { QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, place); };
        QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, place);
        for (auto* timer : listBox->findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly))
            if (timer->isActive() && timer->interval() == QListBox::LONG_PRESS_MS)
                timer->start(0);
        QTimer::singleShot(0, [&over] { over = true; });
        EXPECT_TRUE(waitFor([&over] { return over; }));
        if (const auto lift = std::exchange(liftButton, nullptr))
            lift();
    }

    // Lets the connect dialog read the daemon's answer.
    void tick()
    {
        const QPointer<SETUP_SIP_ConnectDlg> dialog = open<SETUP_SIP_ConnectDlg>();
        if (dialog == nullptr)
            return;
        QMetaObject::invokeMethod(dialog, "slotProgress");
        // A dialog whose answer another one got stays open, and none comes.
        constexpr int NONE_COMES_MS = 250;
        const bool waits =
            dialog != nullptr && open<SETUP_SIP_ConnectDlg>() == dialog && !timerOf(dialog)->isActive();
        if (waits && waitForAnswer(NONE_COMES_MS))
            QMetaObject::invokeMethod(dialog, "slotProgress");
        ++answered;
    }

    void checkStoreAndFile()
    {
        // Without the list, the store may have been loaded from a file with gaps in its numbers.
        if (list == nullptr)
            return;
        SCOPED_TRACE(testing::Message() << "action " << done << ", ORMU_RANDOM_SEED=" << seed);
        SETUP_SIP_Agent* profiles = SETUP_SIP_Agent::instance();
        const QValueList<QString> names = profiles->displayNames;
        EXPECT_EQ(names.count(), profiles->profileCount());
        EXPECT_EQ(totalInFile(), profiles->profileCount());
        EXPECT_EQ(groupsInFile(), profiles->profileCount());
        QSet<QString> seen;
        int defaults = 0;
        for (const QString& name : names) {
            QString group;
            SIP_PROFILE_CONTENT inMemory;
            SIP_PROFILE_CONTENT inFile;
            EXPECT_TRUE(profiles->getProfileGroupName(name, group));
            profiles->getProfileInfo(inMemory, name);
            EXPECT_TRUE(SETUP_SIP_Agent::getProfileByName(group, inFile));
            EXPECT_EQ(inFile.displayName, name);
            expectEqual(inFile, inMemory);
            if (inMemory.defaultProfile) {
                ++defaults;
                // A default profile that was renamed keeps only its flag.
                EXPECT_THAT(SETUP_SIP_Agent::getDefaultProfile(), testing::AnyOf(group, "true"));
            }
            seen += name;
        }
        EXPECT_EQ(seen.size(), names.count());
        EXPECT_LE(defaults, 1);
        EXPECT_LE(names.count(), 10);
        ++checks;
        if (HasFailure())
            done = ACTIONS;
    }

    int totalInFile() const
    {
        const SETUP_SET_Manager manager(file(), false);
        int total = -1;
        manager.getSettingInfo("ProfileSummary", "TotalProfile", total, -1);
        return total;
    }

    int groupsInFile() const
    {
        return static_cast<int>(
            QString(readFile())
                .count(QRegularExpression("^\\[Profile[0-9]+\\]$", QRegularExpression::MultilineOption)));
    }

    unsigned seed = 0;
    std::mt19937 random;
    std::function<void()> liftButton; // set while a button is down
    QSet<QString> visited;
    int done = 0;
    int opened = 0;
    int answered = 0;
    int checks = 0;
};

TEST_F(RandomUse, FindsNoFault)
{
    playAnything();
    while (done < ACTIONS) {
        // Screens outlive their list; the user goes on with them for a while.
        if (list == nullptr && (top() == nullptr || oneIn(30)))
            beginAgain();
        act();
    }
    checkStoreAndFile();
    for (const char* screen :
         {"SETUP_SIP_ProfileList", "SETUP_SIP_ProfileEdit", "SETUP_SIP_ProfileDetail",
          "SETUP_SIP_UserIDAndPasswordDlg", "SETUP_SIP_ConnectDlg", "SETUP_SIP_ProfileDelConfirmDlg",
          "SETUP_SIP_ProfileSelectDlg", "OrmuMessageBox"})
        EXPECT_TRUE(visited.contains(screen)) << screen;
    EXPECT_GT(answered, 50);
    EXPECT_GT(checks, ACTIONS / ACTIONS_BETWEEN_CHECKS / 2);
    std::cout << opened << " lists, " << answered << " answers, " << checks << " checks" << std::endl;
}

} // namespace
