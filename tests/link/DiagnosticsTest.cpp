#include "ORMU_Diagnostics.h"

#include "AssertionOf.h"
#include "Diagnostics.h"
#include "TestChannel.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::StartsWith;

TEST(SourceBaseName, IsThePartAfterTheLastSlash)
{
    EXPECT_STREQ(sourceBaseName("/a/b/SIP_COMM_Channel.cpp"), "SIP_COMM_Channel.cpp");
    EXPECT_STREQ(sourceBaseName("a/b.cpp"), "b.cpp");
}

TEST(SourceBaseName, IsTheWholePathWithoutASlash)
{
    EXPECT_STREQ(sourceBaseName("b.cpp"), "b.cpp");
}

TEST(SourceBaseName, IsEmptyAfterATrailingSlash)
{
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

TEST(Diagnostics, LeaveErrnoAlone)
{
    errno = EXDEV;
    // Nowhere to write: printing fails.
    const int saved = dup(STDERR_FILENO);
    close(STDERR_FILENO);
    ORMU_LOG(ORMU_LEVEL_ERROR, "%s", "lost");
    const int after = errno;
    dup2(saved, STDERR_FILENO);
    close(saved);
    EXPECT_EQ(after, EXDEV);
}

TEST(Diagnostics, LeaveInOnePiece)
{
    // Each write to such a socket is a message of its own.
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

TEST(Diagnostics, OfTheLinkBearTheLineOfTheirStatement)
{
    testing::internal::CaptureStderr();
    TestChannel channel;
    _SIPD_MSG_TYPE_E type;
    channel.recvMsgType(&type);
    const std::string written = testing::internal::GetCapturedStderr();
    int line = 0;
    ASSERT_EQ(std::sscanf(written.c_str(), "{4} SIP_COMM_Channel.cpp:%d, recvMsgType()", &line), 1)
        << written;
    EXPECT_EQ(sourceLine("SIP_COMM_Channel.cpp", line),
              "ORMU_LOG_FUNCTION(ORMU_LEVEL_INFO, \" connect dammon first\");");
}

TEST(Assertion, HoldsSilently)
{
    EXPECT_THAT(diagnosticsOf([] { ORMU_ASSERT(true); }), ElementsAre());
}

TEST(Assertion, ReportsAndAborts)
{
    // It is not in one of the link's sources: only the report is of interest. The emulator of the phone's
    // processor adds a word of its own.
    EXPECT_EXIT(ORMU_ASSERT(false), testing::KilledBySignal(SIGABRT),
                "^\\{1\\} DiagnosticsTest\\.cpp:[0-9]+\tormu assert failed !\n\n(qemu: .*\n)?$");
}
