// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "ShiftedTime.h"

#include "Programs.h"
#include "SipdProcess.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace {

constexpr off_t SIZE = 2 * sizeof(int64_t);

// How often the process has waited.
long switchesOf(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string word; status >> word;) {
        long number = 0;
        if (word == "voluntary_ctxt_switches:" && status >> number)
            return number;
    }
    ADD_FAILURE() << "no such process";
    return -1;
}

} // namespace

ShiftedTime::ShiftedTime(std::filesystem::path directory) : directory_(std::move(directory))
{
    const int fd = open((directory_ / "shift").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    EXPECT_EQ(ftruncate(fd, SIZE), 0);
    void* const file = mmap(nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    EXPECT_NE(file, MAP_FAILED);
    close(fd);
    shifts_ = static_cast<volatile int64_t*>(file);
    EXPECT_EQ(mkfifo((directory_ / "resume").c_str(), 0600), 0);
    pipe_ = open((directory_ / "resume").c_str(), O_RDWR | O_CLOEXEC);
}

ShiftedTime::~ShiftedTime()
{
    munmap(const_cast<int64_t*>(shifts_), SIZE);
    close(pipe_);
}

std::vector<std::string> ShiftedTime::wrapper(const std::string& asanOptions) const
{
    const char* const former = std::getenv("ASAN_OPTIONS");
    return {"/usr/bin/env", "TIME_SHIFT_FILE=" + (directory_ / "shift").string(),
            "TIME_SHIFT_PIPE=" + (directory_ / "resume").string(), std::string("LD_PRELOAD=") + TIME_SHIFT,
            "ASAN_OPTIONS=verify_asan_link_order=0:" + asanOptions + ':' + (former ? former : "")};
}

void ShiftedTime::setDate(std::chrono::seconds step)
{
    shifts_[0] = shifts_[0] + std::chrono::nanoseconds(step).count();
}

void ShiftedTime::sleepFor(std::chrono::seconds time)
{
    // The date advances meanwhile.
    setDate(time);
    shifts_[1] = shifts_[1] + std::chrono::nanoseconds(time).count();
    EXPECT_EQ(write(pipe_, "resumed!", 8), 8);
}

void ShiftedTime::waitUntilIdle(pid_t daemon)
{
    long former = -1;
    EXPECT_TRUE(waitUntil([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        const long switches = switchesOf(daemon);
        return std::exchange(former, switches) == switches;
    }));
}
