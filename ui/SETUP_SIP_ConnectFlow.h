// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SETUP_SIP_CONNECTFLOW_H
#define SETUP_SIP_CONNECTFLOW_H

#include "SETUP_SIP_Agent.h"
#include "SETUP_SIP_ConnectDlg.h"
#include "SETUP_SIP_UserIDAndPasswordDlg.h"

// How a screen connects or disconnects a profile. Each function opens a dialog, stores it in the screen's
// pointer before it reports anything, and has it report to a slot of the screen, which deletes it.

// The credentials prompt, filled with the last input. It has no parent.
template <class Screen>
void SETUP_SIP_OpenPrompt(SETUP_SIP_UserIDAndPasswordDlg*& prompt, SIP_PROFILE_CONTENT& record,
                          Screen* screen, void (Screen::*inputDone)(bool))
{
    QString userID;
    QString password;
    bool remember = false;
    SETUP_SIP_Agent::getLastInputUserIDPassword(userID, password, remember);
    prompt = new SETUP_SIP_UserIDAndPasswordDlg(userID, password, remember, record, nullptr, "");
    QObject::connect(prompt, &SETUP_SIP_UserIDAndPasswordDlg::inputDone, screen, inputDone);
    prompt->show();
}

// The connect dialog, a child of the screen. When the request cannot be sent, the slot has run on return.
template <class Screen>
void SETUP_SIP_OpenConnectDlg(SETUP_SIP_ConnectDlg*& dialog, SETUP_SIP_ConnectDlg::Operation operation,
                              QString& profile, Screen* screen, void (Screen::*connectDone)(bool))
{
    dialog = new SETUP_SIP_ConnectDlg(operation, profile, screen, nullptr);
    QObject::connect(dialog, &SETUP_SIP_ConnectDlg::connectDone, screen, connectDone);
    dialog->show();
    dialog->startConnect();
}

#endif
