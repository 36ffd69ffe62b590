// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef LINK_TEST_H
#define LINK_TEST_H

#include "ChannelPair.h"
#include "DaemonTest.h"
#include "Diagnostics.h"
#include "SIP_COMM_Controler.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <thread>
#include <vector>

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// The action writes those log lines.
inline void expectLog(const std::vector<std::string>& lines, const std::function<void()>& action)
{
    EXPECT_THAT(diagnosticsOf(action), ElementsAreArray(lines));
}

// The link's log lines, as diagnosticsOf() returns them.
inline std::string channelError(const std::string& message)
{
    return "{1} SIP_COMM_Channel.cpp\t" + message;
}
inline std::string channelInfo(const std::string& function, const std::string& message)
{
    return "{4} SIP_COMM_Channel.cpp, " + function + "()\t" + message;
}
inline std::string controlerError(const std::string& message)
{
    return "{1} SIP_COMM_Controler.cpp\t" + message;
}

// The line of the file in the report of the assertion by which action aborts. When there is no such report,
// the test fails.
inline int assertionLine(const std::string& file, const std::function<void()>& action)
{
    int line = 0;
    const auto isReport = [&](const std::string& written) {
        const std::string start = "{1} " + file + ':';
        std::sscanf(written.c_str(), (start + "%d").c_str(), &line);
        const std::string report = start + std::to_string(line) + "\tormu assert failed !\n\n";
        // The emulator of the phone's processor adds a line.
        return written == report || written.starts_with(report + "qemu: ");
    };
    EXPECT_EXIT(action(), testing::KilledBySignal(SIGABRT), testing::Truly(isReport));
    return line;
}

#endif
