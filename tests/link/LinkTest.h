#ifndef LINK_TEST_H
#define LINK_TEST_H

#include <csignal>
#include <cstdio>
#include <functional>
#include <gmock/gmock.h>
#include <string>

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
