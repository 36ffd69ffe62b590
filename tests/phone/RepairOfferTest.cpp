#include "HomeScreen.h"
#include "OrmuMessageBox.h"
#include "ScreenDriver.h"
#include "SettingsFixture.h"
#include "StrangerAtSocket.h"
#include "UTIL_Dialog.h"
#include "UTIL_ListBox.h"

#include <QDir>
#include <QScrollBar>
#include <QTextEdit>

#include <csignal>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

using namespace ScreenDriver;

namespace {

// What the store leaves when the first of three profiles is deleted.
const char DOUBLED[] = "[ProfileSummary]\nTotalProfile=2\n"
                       "[Profile1]\nDisplayName=B\n[Profile2]\nDisplayName=C\n";
const char ENDLESS[] = "[ProfileSummary]\nTotalProfile=3\n[Profile1]\nDisplayName=B\n";
const char DAMAGED[] = "[ProfileSummary]\nTotalProfile=2\n[Profile0]\nServer=sip.example.com\nUserID=anna\n"
                       "[Profile1]\nDisplayName=B\noops\n";

// The texts of the boxes that were answered, each followed by those of its keys.
using Told = std::vector<std::string>;

// The phone over a settings file that is out of step. The libraries are the real ones, loaded at run time.
class RepairOffer : public SettingsTest
{
protected:
    RepairOffer() { home.show(); }

    static bool profileListIsOpen()
    {
        return OrmuPhoneWindow::instance()->topScreen()->inherits("SETUP_SIP_ProfileListBase");
    }

    // Answers the questions to come by these keys, in turn, and gives what they said.
    Told answer(const std::vector<Qt::Key>& keys, const std::function<void()>& act)
    {
        Told told;
        std::vector<std::unique_ptr<Expected>> expected;
        std::function<void()> expectNext;
        const auto isOpen = [] { return open<OrmuMessageBox>() != nullptr; };
        const auto answerThis = [&] {
            told.push_back(textAndKeys(*open<OrmuMessageBox>()));
            const Qt::Key key = keys[told.size() - 1];
            if (told.size() < keys.size())
                expectNext();
            press(key);
        };
        expectNext = [&] { expected.push_back(std::make_unique<Expected>(isOpen, answerThis)); };
        expectNext();
        act();
        return told;
    }

    static std::string textAndKeys(const OrmuMessageBox& box)
    {
        QStringList texts = {box.text()};
        for (int i = 0; i < 3 && !box.buttonText(i).isEmpty(); ++i)
            texts += box.buttonText(i);
        return texts.join(u'|').toStdString();
    }

    static QStringList rows()
    {
        QStringList rows;
        const auto* list = open<QWidget>()->findChild<UTIL_ListBox*>();
        for (int i = 0; i < list->count(); ++i)
            rows += list->item(i)->text();
        return rows;
    }

    static void openList() { press(Qt::Key_Return); }
    static void closeList() { press(Qt::Key_F3); }

    // Ticks these rows in the dialog of the main menu.
    static void deleteRows(const QList<int>& rows)
    {
        const auto tick = onceOpen<UTIL_Dialog>([&rows](UTIL_Dialog& dialog) {
            const int count = dialog.findChild<UTIL_ListBox*>()->count();
            for (int row = 0; row < count; ++row) {
                if (rows.contains(row))
                    press(Qt::Key_Return);
                press(Qt::Key_Down);
            }
            press(Qt::Key_F1);
        });
        press(Qt::Key_F1);
        press(Qt::Key_Down);
        press(Qt::Key_Return);
    }

    static void addProfile(const QString& name)
    {
        press(Qt::Key_F1);
        press(Qt::Key_Return);
        for (const QString& value : {name, QStringLiteral("127.0.0.1"), QString(), name, name}) {
            type(value);
            press(Qt::Key_Down);
        }
        press(Qt::Key_F2);
    }

    // Closes the list and opens it again: any question would keep it closed.
    static void reopenList()
    {
        closeList();
        ASSERT_NE(open<HomeScreen>(), nullptr);
        openList();
        ASSERT_TRUE(profileListIsOpen());
    }

    bool hasCopies() const { return !entries().filter(QStringLiteral("ormu_sipsetup.cfg.")).isEmpty(); }

    // As ./run makes them.
    QStringList writeSamples()
    {
        const QStringList names = {"Home", "Office", "Reception desk",
                                   "Conference room on the second floor, east wing", "Дача у моря"};
        QByteArray bytes = "[ProfileSummary]\nTotalProfile=5\n[SystemDefault]\nProfile=Profile0\n";
        for (int i = 0; i < names.size(); ++i)
            bytes += "[Profile" + QByteArray::number(i) + "]\nDisplayName=" + names[i].toUtf8() +
                     "\nUserID=" + QByteArray::number(i) + "\nDefaultProfile=" + (i == 0 ? "true" : "false") +
                     '\n';
        writeFile(bytes);
        return names;
    }

    HomeScreen home;
};

const char DAMAGED_TEXT[] = "The SIP profiles are damaged. A repair does this:\n"
                            "– A line that cannot be read is set aside.\n"
                            "– Given a name: “anna@sip.example.com”.\n"
                            "The old file is kept.|Repair|Back";
const char REPAIRED_TEXT[] =
    "The SIP profiles are repaired. The old file is kept as ormu_sipsetup.cfg.old.|OK";

TEST_F(RepairOffer, PutsNumbersInOrderWithoutAWordOrACopy)
{
    for (const auto& [bytes, names] :
         {std::pair(DOUBLED, QStringList({"B", "C"})), std::pair(ENDLESS, QStringList("B"))}) {
        writeFile(bytes);
        openList();
        ASSERT_TRUE(profileListIsOpen());
        EXPECT_EQ(rows(), names);
        EXPECT_FALSE(hasCopies());
        closeList();
    }
}

TEST_F(RepairOffer, PutsNumbersInOrderWhenTheListHasClosed)
{
    writeSamples();
    openList();
    deleteRows({0, 2});
    EXPECT_TRUE(readFile().contains("[Profile4]"));
    closeList();
    EXPECT_FALSE(readFile().contains("[Profile3]"));
    EXPECT_TRUE(readFile().contains("TotalProfile=3"));
    EXPECT_FALSE(hasCopies());
}

TEST_F(RepairOffer, IsNotMadeAfterAnySampleProfileIsDeleted)
{
    for (int row = 0; row < 5; ++row) {
        SCOPED_TRACE(row);
        QStringList names = writeSamples();
        openList();
        deleteRows({row});
        names.removeAt(row);
        EXPECT_EQ(rows(), names);
        ASSERT_NO_FATAL_FAILURE(reopenList());
        EXPECT_EQ(rows(), names);
        // Each once more: there is no double whose deletion takes two.
        while (!names.isEmpty()) {
            deleteRows({0});
            names.removeFirst();
            ASSERT_NO_FATAL_FAILURE(reopenList());
            EXPECT_EQ(rows(), names);
        }
        closeList();
        EXPECT_FALSE(hasCopies());
    }
}

TEST_F(RepairOffer, LetsNoNewProfileOverwriteAnother)
{
    QStringList names = writeSamples();
    openList();
    deleteRows({0});
    names.removeFirst();
    ASSERT_NO_FATAL_FAILURE(reopenList());
    for (const char* name : {"X", "Y"}) {
        addProfile(name);
        names += name;
        EXPECT_EQ(rows(), names);
    }
    ASSERT_NO_FATAL_FAILURE(reopenList());
    EXPECT_EQ(rows(), names);
    closeList();
    for (const char* user :
         {"UserID=1\n", "UserID=2\n", "UserID=3\n", "UserID=4\n", "UserID=X\n", "UserID=Y\n"})
        EXPECT_EQ(readFile().count(user), 1) << user;
}

TEST_F(RepairOffer, RepairsDamageAndOpensTheListOfEveryProfile)
{
    writeFile(DAMAGED);
    const Told told = answer({Qt::Key_F1, Qt::Key_Return}, openList);
    EXPECT_EQ(told, Told({DAMAGED_TEXT, REPAIRED_TEXT}));
    ASSERT_TRUE(profileListIsOpen());
    EXPECT_EQ(rows(), QStringList({"anna@sip.example.com", "B"}));
    EXPECT_EQ(readFile(file() + ".old"), DAMAGED);
    EXPECT_EQ(FileIdentity(file() + ".old").mode & 07777, 0600u);
    reopenList();
    closeList();
}

TEST_F(RepairOffer, OpensNothingAfterBack)
{
    writeFile(DAMAGED);
    for (const Qt::Key key : {Qt::Key_F3, Qt::Key_Escape}) {
        SCOPED_TRACE(key);
        EXPECT_EQ(answer({key}, openList), Told({DAMAGED_TEXT}));
        EXPECT_EQ(open<HomeScreen>(), &home);
    }
    press(Qt::Key_Down);
    EXPECT_EQ(answer({Qt::Key_F3}, openList), Told({DAMAGED_TEXT})) << "before the chooser";
    EXPECT_EQ(open<HomeScreen>(), &home);
    EXPECT_EQ(readFile(), DAMAGED);
    EXPECT_FALSE(hasCopies());
}

TEST_F(RepairOffer, FitsOnTheScreenWhateverIsDamaged)
{
    QByteArray bytes = "oops\noops\n[ProfileSummary]\nTotalProfile=2\n";
    for (const char* number : {"0", "1", "2", "0", "1", "2"}) {
        for (const char* user :
             {"", "UserID=somebody-with-a-long-name\n", "DisplayName=Another long name of one\n"})
            bytes += QByteArray("[Profile") + number + "]\nDisplayName=\nServer=s\n" + user;
        bytes += QByteArray("[Profile1") + number + "]\nServer=the-server-with-the-longest-name\n";
    }
    writeFile(bytes);
    bool fits = false;
    const auto look = onceOpen<OrmuMessageBox>([&fits](OrmuMessageBox& box) {
        fits = box.findChild<QTextEdit*>()->verticalScrollBar()->maximum() == 0;
        savePicture("longest-question.png");
        press(Qt::Key_F3);
    });
    openList();
    EXPECT_TRUE(fits);
}

// As on a full disk.
class NoRoom
{
public:
    NoRoom()
    {
        former_ = signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &limit_);
        const rlimit none = {0, limit_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
    }
    ~NoRoom()
    {
        setrlimit(RLIMIT_FSIZE, &limit_);
        signal(SIGXFSZ, former_);
    }
    NoRoom(const NoRoom&) = delete;
    NoRoom& operator=(const NoRoom&) = delete;

private:
    rlimit limit_ = {};
    sighandler_t former_ = nullptr;
};

TEST_F(RepairOffer, OpensNoListThatWouldBeWrongWhenNothingCanBeWritten)
{
    const WarningLog warnings;
    for (const char* bytes : {DOUBLED, ENDLESS}) {
        writeFile(bytes);
        Told told;
        {
            const NoRoom noRoom;
            told = answer({Qt::Key_Return}, openList);
        }
        EXPECT_EQ(told, Told({"The SIP profiles cannot be put in order. The settings file cannot be written "
                              "(the file is too large).|OK"}));
        EXPECT_EQ(open<HomeScreen>(), &home);
        EXPECT_EQ(readFile(), bytes);
        EXPECT_FALSE(hasCopies());
    }
    writeFile(DAMAGED);
    Told told;
    {
        const NoRoom noRoom;
        told = answer({Qt::Key_F1, Qt::Key_Return}, openList);
    }
    EXPECT_EQ(told, Told({DAMAGED_TEXT, "The SIP profiles are not repaired. No copy of the settings file can "
                                        "be kept (the file is too large).|OK"}));
    EXPECT_EQ(open<HomeScreen>(), &home);
    EXPECT_EQ(readFile(), DAMAGED);
}

TEST_F(RepairOffer, OpensAListWithNothingWrongWhenNothingCanBeWritten)
{
    const QStringList names = writeSamples();
    const NoRoom noRoom;
    openList();
    ASSERT_TRUE(profileListIsOpen());
    EXPECT_EQ(rows(), names);
    closeList();
}

TEST_F(RepairOffer, PutsNumbersInOrderBeforeTheChooser)
{
    writeFile(ENDLESS);
    const auto cancel = onceOpen<UTIL_Dialog>([](UTIL_Dialog& dialog) {
        EXPECT_EQ(dialog.findChild<UTIL_ListBox*>()->count(), 1);
        press(Qt::Key_F3);
    });
    press(Qt::Key_Down);
    openList();
    EXPECT_EQ(open<HomeScreen>(), &home);
}

TEST_F(RepairOffer, LeavesTheChosenProfileChosenWhenNumbersChange)
{
    writeSamples();
    const auto choose = [](int downs) {
        QString marked;
        const auto pick = onceOpen<UTIL_Dialog>([&marked, downs](UTIL_Dialog& dialog) {
            const auto* list = dialog.findChild<UTIL_ListBox*>();
            for (int i = 0; i < list->count(); ++i) {
                if (list->itemChecked(i))
                    marked = list->item(i)->text();
            }
            if (downs > 0) {
                for (int i = 0; i < downs; ++i)
                    press(Qt::Key_Down);
                press(Qt::Key_Return);
            }
            press(Qt::Key_F1);
        });
        const auto dismiss = onceOpen<OrmuMessageBox>([](OrmuMessageBox&) { press(Qt::Key_Return); });
        press(Qt::Key_Return);
        return marked;
    };
    press(Qt::Key_Down);
    EXPECT_EQ(choose(2), "");
    press(Qt::Key_Up);
    openList();
    deleteRows({0});
    closeList();
    press(Qt::Key_Down);
    EXPECT_EQ(choose(0), "Reception desk");
}

TEST_F(RepairOffer, IsNotMadeForWhatIsNoFileAtAll)
{
    ASSERT_TRUE(QDir().mkpath(file()));
    const WarningLog warnings;
    openList();
    EXPECT_TRUE(profileListIsOpen());
    closeList();
    EXPECT_TRUE(QDir(file()).exists());
    EXPECT_FALSE(hasCopies());
}

TEST_F(RepairOffer, OpensNoListWhileAnotherUserHasTheDaemonsSocket)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can become another user";
    const std::string refusal = "The SIP daemon on /tmp/sipd_us belongs to another user: nobody.|OK";
    for (const auto part : {StrangerAtSocket::Both, StrangerAtSocket::File, StrangerAtSocket::Process}) {
        SCOPED_TRACE(part);
        const StrangerAtSocket stranger(part);
        for (const Qt::Key entry : {Qt::Key_Up, Qt::Key_Down}) {
            press(entry);
            EXPECT_EQ(answer({Qt::Key_Return}, openList), Told({refusal}));
            EXPECT_EQ(open<HomeScreen>(), &home);
        }
    }
    press(Qt::Key_Up);
    openList();
    EXPECT_TRUE(profileListIsOpen()) << "once the other has gone";
    press(Qt::Key_F3);
}

} // namespace
