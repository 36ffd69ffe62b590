// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef ORMUPLATFORMEXPORT_H
#define ORMUPLATFORMEXPORT_H

/* Marks the interface of the platform's shared library. Everything else in it is hidden. C99 and C++. */
#define ORMU_PLATFORM_EXPORT __attribute__((visibility("default")))

#endif
