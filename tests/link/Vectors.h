// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef VECTORS_H
#define VECTORS_H

#include <map>
#include <string>
#include <vector>

// A named message of tests/link/vectors/messages.txt, which explains the form.
struct Vector
{
    std::string name;
    std::string meaning;
    std::map<std::string, std::string> fields;
    std::string bytes;

    // The value of a field: its text, its number (0 when it is not there), or the bytes that it spells.
    std::string text(const std::string& key) const;
    long number(const std::string& key) const;
    std::string spelled(const std::string& key) const;
};

// Aborts the test program on a line that is in no known form.
std::vector<Vector> readVectors();

#endif
