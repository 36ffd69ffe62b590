#include "SETUP_SIP_ProfileSelectDlg.h"

#include "OrmuGlobal.h"
#include "OrmuPushButton.h"
#include "SETUP_SIP_Agent.h"
#include "UTIL_DlgCST.h"
#include "UTIL_ListBox.h"

#include <QLabel>

namespace {
constexpr int TITLE_INDENT = 5;
constexpr int TEXT_COLUMN = 1;
const char ROW_FORMAT[] = "%R%T";
} // namespace

SETUP_SIP_ProfileSelectDlg::SETUP_SIP_ProfileSelectDlg(QString& profile, QWidget* parent, const char* name)
    : UTIL_Dialog(UTIL_Dialog::DialogType(0), false, parent, name, 1, 0), profileName(profile)
{
    QWidget* content = getDlgContent();
    const int titleHeight = OrmuGlobal::getDlgTitleLR().height();

    auto* title = new QLabel(tr("Select Profile", "2.6.11;DIALOG_TITLE"), content);
    title->setIndent(TITLE_INDENT);
    title->setGeometry(OrmuGlobal::diffRect(OrmuGlobal::getDlgLargeR(), OrmuGlobal::getDlgTitleLR()));

    listBox = new UTIL_ListBox(ROW_FORMAT, content, 0);
    listBox->setGeometry(0, titleHeight, content->width(), content->height() - titleHeight);
    initChoice();

    auto* softKeys = new UTIL_DlgCST(this, UTIL_DlgCST::DlgCstType(1));
    softKeys->getBtn2()->setText(tr("Cancel", "2.6.11;SOFTKEY_2BUTTON"));
    connect(softKeys->getBtn2(), &QPushButton::clicked, this, &SETUP_SIP_ProfileSelectDlg::reject);
    softKeys->getBtn1()->setText(tr("OK", "2.6.11;SOFTKEY_2BUTTON"));
    connect(softKeys->getBtn1(), &QPushButton::clicked, this, &SETUP_SIP_ProfileSelectDlg::accept);
    setDlgCst(softKeys);
}

SETUP_SIP_ProfileSelectDlg::~SETUP_SIP_ProfileSelectDlg()
{
    SETUP_SIP_Agent::cleanup();
}

void SETUP_SIP_ProfileSelectDlg::initChoice()
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    const QValueList<QString> names = store->displayNames;
    const QString chosen = SETUP_SIP_Agent::getProfileDisplayName(profileName);
    if (store->profileCount() <= 0)
        return;
    for (const QString& name : names) {
        auto* row = new UTIL_ListBoxItem(listBox, ROW_FORMAT, false);
        row->setString(TEXT_COLUMN, name);
        listBox->insertItem(row, -1);
        if (name == chosen)
            listBox->checkItem(row, true);
    }
}

QString SETUP_SIP_ProfileSelectDlg::getSelectedProfile()
{
    SETUP_SIP_Agent* store = SETUP_SIP_Agent::instance();
    for (int i = 0; i < store->profileCount(); ++i)
        if (listBox->itemChecked(i))
            store->getProfileGroupName(listBox->item(i)->text(), profileName);
    return profileName;
}
