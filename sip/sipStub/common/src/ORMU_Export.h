// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMU_EXPORT_H
#define ORMU_EXPORT_H

/** @file
 * What the library shows of itself. C99 and C++. */

/** Marks what the library offers to other programs; everything else stays hidden. */
#define ORMU_SIPSETUP_EXPORT __attribute__((visibility("default")))

/** Within what it offers: a part that stays hidden all the same. */
#define ORMU_SIPSETUP_INTERNAL __attribute__((visibility("hidden")))

#endif
