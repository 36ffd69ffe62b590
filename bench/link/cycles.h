// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef CYCLES_H
#define CYCLES_H

#include <stdint.h>

/* One cycle: connect and register, read the ack, get a profile's status, close. 0 on success. */
#ifdef __cplusplus
extern "C" {
#endif

int bareCycle(const char* profileName, uint32_t* status);
int libraryCycle(const char* profileName, uint32_t* status);

#ifdef __cplusplus
}
#endif

#endif
