// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "SIP_COMM_Controler.h"
#include "cycles.h"

int libraryCycle(const char* profileName, uint32_t* status)
{
    _SIP_COMM_PROFILE_CONTROL_S* handle = nullptr;
    _SIPD_PROFILE_STATUS_E answered = {};
    int result = SIP_COMM_ControlerConstruct(&handle);
    if (result == 0)
        result = SIP_COMM_ControlerGetProfileStatus(handle, profileName, &answered);
    *status = answered;
    SIP_COMM_ControlerDestruct(&handle);
    return result;
}
