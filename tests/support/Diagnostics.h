// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef DIAGNOSTICS_H
#define DIAGNOSTICS_H

#include <functional>
#include <string>
#include <vector>

// Runs action and returns the lines that it wrote to standard error, without the numbers of source lines:
// "{4} SIP_COMM_Channel.cpp, recvAckMsg()\trecieve ack message".
std::vector<std::string> diagnosticsOf(const std::function<void()>& action);

#endif
