// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "StoreCalls.h"

#include "ORMU_Diagnostics.h"
#include "SETUP_SET_Manager.h"
#include "SIP_COMM_Controler.h"

#include <cstdlib>

using storeCalls::calls;

namespace {

QString shown(const QString& value)
{
    return "'" + value + "'";
}

QString shown(bool value)
{
    return value ? "true" : "false";
}

QString shown(auto number)
{
    return QString::number(number);
}

void record(const char* call, const QString& group, const QString& key, const auto&... arguments)
{
    calls += (QStringList{call, group + "/" + key} << ... << shown(arguments)).join(' ');
}

QString valueOf(const QString& group, const QString& key, const QString& standard)
{
    return storeCalls::values.value(group + "/" + key, standard);
}

_SIP_COMM_PROFILE_CONTROL_S theHandle;

} // namespace

class SETUP_SET_Manager::File
{
};

SETUP_SET_Manager::SETUP_SET_Manager(const QString& path, bool create)
{
    calls += "open " + path.section('/', -1) + " " + shown(create);
}

SETUP_SET_Manager::~SETUP_SET_Manager()
{
    calls += "close";
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, QString& value,
                                       const QString& defaultValue, bool localized) const
{
    record("get text", group, key, defaultValue, localized);
    value = valueOf(group, key, defaultValue);
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, bool& value,
                                       bool defaultValue) const
{
    record("get bool", group, key, defaultValue);
    value = valueOf(group, key, shown(defaultValue)) == "true";
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, int& value,
                                       int defaultValue) const
{
    record("get int", group, key, defaultValue);
    value = valueOf(group, key, shown(defaultValue)).toInt();
}

void SETUP_SET_Manager::getSettingInfo(const QString& group, const QString& key, unsigned int& value,
                                       unsigned int defaultValue) const
{
    record("get unsigned", group, key, defaultValue);
    value = valueOf(group, key, shown(defaultValue)).toUInt();
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, const QString& value,
                                       bool localized)
{
    record("set text", group, key, value, localized);
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, bool value)
{
    record("set bool", group, key, value);
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, int value)
{
    record("set int", group, key, value);
}

void SETUP_SET_Manager::setSettingInfo(const QString& group, const QString& key, unsigned int value)
{
    record("set unsigned", group, key, value);
}

void SETUP_SET_Manager::clearGroup(const QString& group)
{
    calls += "clear " + group;
}

int SIP_COMM_ControlerConstruct(_SIP_COMM_PROFILE_CONTROL_S** handle)
{
    calls += "construct";
    *handle = storeCalls::daemon.givesHandle ? &theHandle : nullptr;
    return storeCalls::daemon.constructs;
}

int SIP_COMM_ControlerDestruct(_SIP_COMM_PROFILE_CONTROL_S** handle)
{
    calls += *handle == &theHandle ? "destruct" : "destruct another";
    *handle = nullptr;
    return 0;
}

int SIP_COMM_ControlerGetProfileStatus(_SIP_COMM_PROFILE_CONTROL_S* handle, const char* profileName,
                                       _SIPD_PROFILE_STATUS_E* status)
{
    calls += QString(handle == &theHandle ? "status of " : "status over another of ") + profileName;
    *status = storeCalls::daemon.status;
    return storeCalls::daemon.answers;
}

void ormuAssertFailed(const char*, int)
{
    std::abort();
}
