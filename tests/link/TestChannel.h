// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef TEST_CHANNEL_H
#define TEST_CHANNEL_H

#include "SIP_COMM_Channel.h"

// A channel with a descriptor of the test's choice, whose state the test can read and set.
class TestChannel : public SIP_COMM_Channel
{
public:
    explicit TestChannel(int descriptor = -1, _SIPD_APPID_E id = SIPD_APPID_SETUP) : SIP_COMM_Channel(id)
    {
        fd = descriptor;
    }

    _SIPD_APPID_E applicationId() const { return appId; }
    _SIPD_MSG_TYPE_E pendingMessageType() const { return pendingType; }
    uint32_t pendingBodyLength() const { return pendingLength; }
    void setFd(int descriptor) { fd = descriptor; }
    void setPending(_SIPD_MSG_TYPE_E type, uint32_t length)
    {
        pendingType = type;
        pendingLength = length;
    }
};

#endif
