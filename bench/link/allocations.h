// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ALLOCATIONS_H
#define ALLOCATIONS_H

// The number of this thread's heap allocations. A program that links this has a malloc() that counts them.
long allocationsOfThisThread();

#endif
