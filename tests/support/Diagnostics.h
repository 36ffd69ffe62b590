#ifndef DIAGNOSTICS_H
#define DIAGNOSTICS_H

#include <functional>
#include <string>
#include <vector>

// Runs action and returns what it wrote to standard error, line by line, without the line numbers of the
// source:
// "{4} SIP_COMM_Channel.cpp, recvAckMsg()\trecieve ack message".
std::vector<std::string> diagnosticsOf(const std::function<void()>& action);

#endif
