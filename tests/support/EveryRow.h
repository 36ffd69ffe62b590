// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef EVERYROW_H
#define EVERYROW_H

#include <algorithm>
#include <functional>
#include <vector>

// Calls with every row of count digits below base.
inline void forEveryRow(size_t count, int base, const std::function<void(const std::vector<int>&)>& call)
{
    std::vector<int> row(count, 0);
    for (;;) {
        call(row);
        const auto digit =
            std::find_if(row.begin(), row.end(), [base](int value) { return value + 1 < base; });
        std::fill(row.begin(), digit, 0);
        if (digit == row.end())
            return;
        ++*digit;
    }
}

// Calls with every way to make some of count things alike: equal digits stand for equal things, and the
// digits first come in their order, as in 0 1 0 2.
inline void forEveryLikeness(size_t count, const std::function<void(const std::vector<int>&)>& call)
{
    forEveryRow(count, std::max(static_cast<int>(count), 1), [&call](const std::vector<int>& row) {
        int next = 0;
        for (const int digit : row) {
            if (digit > next)
                return;
            next = std::max(next, digit + 1);
        }
        call(row);
    });
}

#endif
