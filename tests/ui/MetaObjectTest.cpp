#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_ProfileDelConfirmDlg.h"
#include "SETUP_SIP_ProfileDetail.h"
#include "SETUP_SIP_ProfileEdit.h"
#include "SETUP_SIP_ProfileList.h"
#include "SETUP_SIP_ProfileSelectDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"

#include <QMetaMethod>
#include <QStringList>

#include <gmock/gmock.h>

#include <ostream>

namespace {

struct Expected
{
    const QMetaObject* meta;
    const char* className;
    const char* superClass;
    QStringList signalsInOrder;
    QStringList slotsInOrder; // with their access
};

void PrintTo(const Expected& expected, std::ostream* out)
{
    *out << expected.className;
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

class MetaObject : public testing::TestWithParam<Expected>
{
};

TEST_P(MetaObject, HasItsNamesAndItsSignalsAndSlotsInTheirOrder)
{
    const Expected& expected = GetParam();
    EXPECT_STREQ(expected.meta->className(), expected.className);
    EXPECT_STREQ(expected.meta->superClass()->className(), expected.superClass);
    EXPECT_EQ(methodsOf(*expected.meta, QMetaMethod::Signal), expected.signalsInOrder);
    EXPECT_EQ(methodsOf(*expected.meta, QMetaMethod::Slot), expected.slotsInOrder);
    EXPECT_EQ(methodsOf(*expected.meta, QMetaMethod::Method), QStringList());
}

INSTANTIATE_TEST_SUITE_P(
    OfTheScreens, MetaObject,
    testing::Values(Expected{&SETUP_SIP_ProfileListBase::staticMetaObject,
                             "SETUP_SIP_ProfileListBase",
                             "OrmuMainWidget",
                             {"SIPClose()"},
                             {}},
                    Expected{&SETUP_SIP_ProfileList::staticMetaObject,
                             "SETUP_SIP_ProfileList",
                             "SETUP_SIP_ProfileListBase",
                             {},
                             {"protected menuItemActivated(int)", "protected contentMenuItemActivated(int)",
                              "protected editDone(bool)", "protected detailDone(bool)",
                              "protected itemClicked(int,QListBoxItem*,QPoint)",
                              "protected showContentMenu(QListBoxItem*,QPoint)",
                              "protected userIDPasswordDone(bool)", "protected connectDone(bool)",
                              "protected customEvent(QCustomEvent*)"}},
                    Expected{&SETUP_SIP_ConnectDlg::staticMetaObject,
                             "SETUP_SIP_ConnectDlg",
                             "UTIL_ProgressDialog",
                             {"connectDone(bool)"},
                             {"protected slotProgress()", "protected slotCancelled()"}},
                    Expected{&SETUP_SIP_ProfileEdit::staticMetaObject,
                             "SETUP_SIP_ProfileEdit",
                             "OrmuMainWidget",
                             {"editDone(bool)"},
                             {"protected slotSave()", "protected slotQuit()", "protected textChanged()"}},
                    Expected{&SETUP_SIP_ProfileDetail::staticMetaObject,
                             "SETUP_SIP_ProfileDetail",
                             "OrmuMainWidget",
                             {"detailDone(bool)"},
                             {"protected menuItemActivated(int)", "protected slotSetAsDefault()",
                              "protected slotBack()", "protected editDone(bool)",
                              "protected userIDPasswordDone(bool)", "protected connectDone(bool)"}},
                    Expected{&SETUP_SIP_UserIDAndPasswordDlg::staticMetaObject,
                             "SETUP_SIP_UserIDAndPasswordDlg",
                             "OrmuMainWidget",
                             {"inputDone(bool)"},
                             {"protected slotOK()", "protected slotQuit()"}},
                    Expected{&SETUP_SIP_ProfileDelConfirmDlg::staticMetaObject,
                             "SETUP_SIP_ProfileDelConfirmDlg",
                             "UTIL_Dialog",
                             {},
                             {"public deleteProfiles()", "public selectAll(bool)"}},
                    Expected{&SETUP_SIP_ProfileSelectDlg::staticMetaObject,
                             "SETUP_SIP_ProfileSelectDlg",
                             "UTIL_Dialog",
                             {},
                             {}}),
    [](const auto& tested) { return std::string(tested.param.className); });

} // namespace
