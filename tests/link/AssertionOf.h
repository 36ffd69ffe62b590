#ifndef ASSERTION_OF_H
#define ASSERTION_OF_H

#include <functional>
#include <string>

// Runs action in a child process, which it must end by a failed assertion of the link, and returns the source
// line that was reported, trimmed: "ORMU_ASSERT(handle != nullptr);". Otherwise what went on instead.
std::string assertionOf(const std::function<void()>& action);

// The text of a line of one of the link's sources, trimmed.
std::string sourceLine(const std::string& file, int line);

#endif
