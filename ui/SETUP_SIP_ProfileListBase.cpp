// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SETUP_SIP_ProfileListBase.h"

SETUP_SIP_ProfileListBase::SETUP_SIP_ProfileListBase(QWidget* parent, const char* name)
    : OrmuMainWidget(parent, name, 0)
{
}

void SETUP_SIP_ProfileListBase::createScreen() {}

#include "moc_SETUP_SIP_ProfileListBase.cpp"
