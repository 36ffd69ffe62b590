// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#include "KeepAlive.h"

#include <algorithm>

namespace {

constexpr std::chrono::seconds SHORTEST_SILENCE{10};

} // namespace

std::chrono::seconds KeepAlive::tried() const
{
    return std::min(known_ * 3 / 2, longest_);
}

void KeepAlive::learn(bool hasLasted, std::chrono::seconds silence)
{
    if (!hasLasted) {
        // Neither a silence that was too long nor, if it was one that had been kept before, this one again.
        if (isSettled_ || silence <= known_)
            known_ = std::max(silence / 2, SHORTEST_SILENCE);
        isSettled_ = true;
        return;
    }
    if (isSettled_ || silence < known_)
        return;
    known_ = std::min(silence, longest_);
    isSettled_ = known_ == longest_;
}
