#include "SetupScreensTest.h"

#include "OrmuMessageBox.h"
#include "OrmuMultiLineEdit.h"
#include "RES_ICON_Reader.h"
#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"
#include "UTIL_ListBox.h"
#include "qpopupmenu.h"

#include <QDir>
#include <QPointer>
#include <QTimer>

#include <ostream>
#include <utility>

using namespace ScreenDriver;

namespace {
constexpr int FAST_POLL_MS = 5;

QString nameOf(const QPixmap& icon)
{
    for (const char* name : {"Dialog_Complete.gif", "Dialog_Exclamatory_Mark.gif",
                             "Dialog_Exclamatory_Mark.jpg", "Dialog_Question_Mark.jpg"})
        if (RES_ICON_Reader().getIcon(name).toImage() == icon.toImage())
            return name;
    return icon.isNull() ? "none" : "another";
}
} // namespace

ShownBox::ShownBox(const OrmuMessageBox& box) : text(box.text()), icon(nameOf(box.iconPixmap()))
{
    for (int i = 0; !box.buttonText(i).isEmpty(); ++i)
        buttons += box.buttonText(i);
}

ShownBox::ShownBox(const QString& shownText, const QString& iconName, const QStringList& buttonTexts)
    : text(shownText), icon(iconName), buttons(buttonTexts)
{
}

void PrintTo(const ShownBox& box, std::ostream* out)
{
    *out << qPrintable(QString("\"%1\" (%2) [%3]").arg(box.text, box.icon, box.buttons.join(", ")));
}

void keepPicture(const QString& name)
{
    const QString directory = qEnvironmentVariable("ORMU_TEST_PICTURES");
    if (!directory.isEmpty())
        savePicture(QDir(directory).filePath(name + ".png"));
}

BoxAnswers::BoxAnswers(std::initializer_list<Qt::Key> keys) : keys_(keys)
{
    expectNext();
}

BoxAnswers::~BoxAnswers() = default;

void BoxAnswers::expectNext()
{
    if (!keys_.isEmpty())
        expected_.push_back(std::make_unique<Expected>([] { return open<OrmuMessageBox>() != nullptr; },
                                                       [this] { answer(*open<OrmuMessageBox>()); }));
}

void BoxAnswers::answer(OrmuMessageBox& box)
{
    boxes_ += ShownBox(box);
    if (!picture_.isEmpty())
        ::keepPicture(picture_ + QString::number(boxes_.size()));
    const Qt::Key key = keys_.takeFirst();
    press(key);
    expectNext();
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

SetupScreensTest::~SetupScreensTest()
{
    list.reset();
    EXPECT_EQ(OrmuPhoneWindow::instance()->topScreen(), nullptr) << "a screen was left";
    SETUP_SIP_Agent::cleanup();
}

SIP_PROFILE_CONTENT SetupScreensTest::record(const QString& name)
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

SIP_PROFILE_CONTENT SetupScreensTest::guardedRecord(const QString& name)
{
    SIP_PROFILE_CONTENT guarded = record(name);
    guarded.needUserIDPass = true;
    return guarded;
}

void SetupScreensTest::store(SIP_PROFILE_CONTENT record)
{
    const QString name = record.displayName;
    SETUP_SIP_Agent::instance()->setProfileInfo(record, name);
}

void SetupScreensTest::openList()
{
    SETUP_SIP_Agent::cleanup();
    list.reset(SETUP_SIP_CreateProfileList(nullptr));
    list->createScreen();
    list->show();
    listBox = list->findChild<UTIL_ListBox*>();
    QObject::connect(list.get(), &SETUP_SIP_ProfileListBase::SIPClose, [this] { list.reset(); });
}

QStringList SetupScreensTest::rows() const
{
    QStringList names;
    for (int i = 0; i < listBox->count(); ++i)
        names += listBox->item(i)->text();
    return names;
}

void SetupScreensTest::goToRow(int row)
{
    while (listBox->currentItem() < row)
        press(Qt::Key_Down);
    while (listBox->currentItem() > row)
        press(Qt::Key_Up);
}

void SetupScreensTest::chooseEntry(const QString& entry)
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

void SetupScreensTest::chooseInRowMenu(const QString& entry)
{
    const auto chosen = onceOpen<QPopupMenu>([&entry](QPopupMenu&) { chooseEntry(entry); });
    press(Qt::Key_Menu);
}

void SetupScreensTest::chooseInMenu(const QString& entry)
{
    press(Qt::Key_F1);
    chooseEntry(entry);
}

QTimer* SetupScreensTest::timerOf(const SETUP_SIP_ConnectDlg* dialog)
{
    return dialog->findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
}

void SetupScreensTest::finishConnecting()
{
    const QPointer<SETUP_SIP_ConnectDlg> dialog = open<SETUP_SIP_ConnectDlg>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(waitFor([&dialog] {
        QTimer* timer = dialog == nullptr ? nullptr : timerOf(dialog);
        if (timer != nullptr && timer->isActive() && timer->interval() != FAST_POLL_MS)
            timer->setInterval(FAST_POLL_MS);
        return dialog == nullptr;
    }));
}

void SetupScreensTest::fillPrompt(const QString& user, const QString& password)
{
    auto* prompt = open<SETUP_SIP_UserIDAndPasswordDlg>();
    ASSERT_NE(prompt, nullptr);
    const auto* first = prompt->findChild<OrmuMultiLineEdit*>();
    for (int i = 0; i < 3 && !first->hasFocus(); ++i)
        press(Qt::Key_Up);
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_Delete);
    type(user);
    press(Qt::Key_Down);
    press(Qt::Key_A, Qt::ControlModifier);
    press(Qt::Key_Delete);
    type(password);
    press(Qt::Key_Down);
}
