#include "UTIL_DlgCST.h"

#include "OrmuPushButton.h"

UTIL_DlgCST::UTIL_DlgCST(QWidget* parent, DlgCstType) : UTIL_CST(parent, QString(), QString(), QString())
{
    getMidBtn()->setEnabled(false);
}
