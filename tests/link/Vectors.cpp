// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "Vectors.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

// "50 00*120 ; a comment"
std::string bytesIn(const std::string& hex)
{
    std::istringstream words(hex.substr(0, hex.find(';')));
    std::string bytes;
    for (std::string word; words >> word;) {
        unsigned int value = 0;
        size_t count = 1;
        int end = 0;
        const int found = std::sscanf(word.c_str(), "%2x%n*%zu%n", &value, &end, &count, &end);
        if (found < 1 || static_cast<size_t>(end) != word.size()) {
            std::fprintf(stderr, "not a byte: %s\n", word.c_str());
            std::abort();
        }
        bytes.append(count, static_cast<char>(value));
    }
    return bytes;
}

void addLine(Vector& vector, const std::string& line, bool& inBytes)
{
    const size_t colon = line.find(": ");
    if (line == "bytes:")
        inBytes = true;
    else if (inBytes)
        vector.bytes += bytesIn(line);
    else if (vector.meaning.empty())
        vector.meaning = line;
    else if (colon != std::string::npos)
        vector.fields[line.substr(0, colon)] = line.substr(colon + 2);
    else {
        std::fprintf(stderr, "%s: not a field: %s\n", vector.name.c_str(), line.c_str());
        std::abort();
    }
}

} // namespace

std::string Vector::text(const std::string& key) const
{
    const auto found = fields.find(key);
    return found == fields.end() ? "" : found->second;
}

long Vector::number(const std::string& key) const
{
    return std::strtol(text(key).c_str(), nullptr, 10);
}

std::string Vector::spelled(const std::string& key) const
{
    return bytesIn(text(key));
}

std::vector<Vector> readVectors()
{
    std::vector<Vector> vectors;
    bool inBytes = false;
    std::ifstream file(VECTORS_FILE);
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#')
            continue;
        if (line.front() == '[') {
            vectors.push_back({line.substr(1, line.size() - 2), "", {}, ""});
            inBytes = false;
        } else if (!vectors.empty()) {
            addLine(vectors.back(), line, inBytes);
        }
    }
    return vectors;
}
