// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef MUTATION_H
#define MUTATION_H

#include <random>
#include <string>

// A malformed answer of a server: the answer, or a redirection or refusal in its place, after some random
// changes. It may still be well-formed.
std::string mutated(const std::string& answer, std::mt19937& random);

#endif
