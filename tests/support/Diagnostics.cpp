// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Diagnostics.h"

#include <gtest/gtest.h>
#include <sstream>

namespace {

// "{4} file.cpp:12, ..." or "{4} file.cpp:12\t..."
std::string withoutLineNumber(std::string line)
{
    const size_t colon = line.find(':');
    const size_t end = line.find_first_not_of("0123456789", colon + 1);
    if (colon != std::string::npos && end > colon + 1)
        line.erase(colon, end - colon);
    return line;
}

} // namespace

std::vector<std::string> diagnosticsOf(const std::function<void()>& action)
{
    testing::internal::CaptureStderr();
    action();
    std::istringstream written(testing::internal::GetCapturedStderr());
    std::vector<std::string> lines;
    for (std::string line; std::getline(written, line);)
        lines.push_back(withoutLineNumber(line));
    return lines;
}
