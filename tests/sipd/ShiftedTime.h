// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef SHIFTED_TIME_H
#define SHIFTED_TIME_H

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

// The time of a daemon, which differs from the machine's as a test says. TimeShift.c tells how.
class ShiftedTime
{
public:
    // Keeps its files in that directory.
    explicit ShiftedTime(std::filesystem::path directory);
    ~ShiftedTime();
    ShiftedTime(const ShiftedTime&) = delete;
    ShiftedTime& operator=(const ShiftedTime&) = delete;

    // The command before a daemon that runs it in this time. asanOptions: more options of AddressSanitizer.
    std::vector<std::string> wrapper(const std::string& asanOptions = {}) const;

    // Sets the daemon's date forward, or back.
    void setDate(std::chrono::seconds step);
    // Has the daemon's machine sleep. The daemon calls at once the timers that expire meanwhile, also those
    // of requests that wait for an answer: 8 seconds end them.
    void sleepFor(std::chrono::seconds time);

    // Waits until the daemon has nothing to do but wait for events.
    static void waitUntilIdle(pid_t daemon);

private:
    const std::filesystem::path directory_;
    volatile int64_t* shifts_ = nullptr;
    int pipe_ = -1;
};

#endif
