// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ORMU_Diagnostics.h"

#include "LinkTest.h"

namespace {

// The number of the line that the link logs for action: "{4} SIP_COMM_Channel.cpp:NUMBER, ...".
int loggedLine(const std::function<void()>& action)
{
    testing::internal::CaptureStderr();
    action();
    int line = 0;
    std::sscanf(testing::internal::GetCapturedStderr().c_str(), "{4} SIP_COMM_Channel.cpp:%d,", &line);
    return line;
}

} // namespace

TEST(SourceBaseName, IsThePartAfterTheLastSlash)
{
    EXPECT_STREQ(sourceBaseName("/a/b/SIP_COMM_Channel.cpp"), "SIP_COMM_Channel.cpp");
    EXPECT_STREQ(sourceBaseName("a/b.cpp"), "b.cpp");
    EXPECT_STREQ(sourceBaseName("b.cpp"), "b.cpp");
    EXPECT_STREQ(sourceBaseName("a/"), "");
    EXPECT_STREQ(sourceBaseName(""), "");
}

TEST(Diagnostics, NameLevelFileAndLine)
{
    testing::internal::CaptureStderr();
    const int line = __LINE__ + 1;
    ORMU_LOG(ORMU_LEVEL_ERROR, "connect fail path %s", "/x");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "{1} DiagnosticsTest.cpp:" + std::to_string(line) + "\tconnect fail path /x\n");
}

TEST(Diagnostics, NameTheFunctionInTheSecondForm)
{
    testing::internal::CaptureStderr();
    const int line = __LINE__ + 1;
    ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, "command %d", 3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "{4} DiagnosticsTest.cpp:" + std::to_string(line) + ", TestBody()\tcommand 3\n");
}

TEST(Diagnostics, NameTheLineOfEachStatementOfTheLink)
{
    SIP_COMM_Channel channel(SIPD_APPID_SETUP);
    _SIPD_MSG_TYPE_E type;
    const int receiving = loggedLine([&] { channel.recvMsgType(&type); });
    const int sending = loggedLine([&] { channel.sendControlMsg(SIPD_MSG_REGISTER); });
    EXPECT_GT(receiving, 0);
    EXPECT_GT(sending, receiving);
}

TEST(Diagnostics, LeaveErrnoUnchanged)
{
    errno = EXDEV;
    // Printing to a closed descriptor fails.
    const int saved = dup(STDERR_FILENO);
    close(STDERR_FILENO);
    ORMU_LOG(ORMU_LEVEL_ERROR, "%s", "lost");
    const int after = errno;
    dup2(saved, STDERR_FILENO);
    close(saved);
    EXPECT_EQ(after, EXDEV);
}

TEST(Diagnostics, AreWrittenInOneWrite)
{
    // Each write to such a socket is a message.
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends), 0);
    const int saved = dup(STDERR_FILENO);
    dup2(ends[0], STDERR_FILENO);
    ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, "command %d , sdp len %d", 1, 2);
    dup2(saved, STDERR_FILENO);
    close(saved);
    close(ends[0]);
    char first[256] = {};
    EXPECT_GT(recv(ends[1], first, sizeof(first) - 1, 0), 0);
    EXPECT_EQ(std::string(first).back(), '\n') << first;
    EXPECT_EQ(recv(ends[1], first, sizeof(first), 0), 0) << "more than one write";
    close(ends[1]);
}

TEST(Assertion, PrintsNothingWhenItsConditionHolds)
{
    expectLog({}, [] { ORMU_ASSERT(true); });
}

TEST(Assertion, ReportsItsLineAndAborts)
{
    const int line = __LINE__ + 1;
    EXPECT_EQ(assertionLine("DiagnosticsTest.cpp", [] { ORMU_ASSERT(false); }), line);
}
