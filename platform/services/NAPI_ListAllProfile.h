// SPDX-FileCopyrightText: 2026 The ormusipsetup authors
// SPDX-License-Identifier: Apache-2.0

#ifndef NAPI_LISTALLPROFILE_H
#define NAPI_LISTALLPROFILE_H

#include "OrmuPlatformExport.h"

#define NAPI_PROFILE_RECORD_SIZE 64

#ifdef __cplusplus
extern "C" {
#endif

// Lists the phone's data connections as records of NAPI_PROFILE_RECORD_SIZE bytes. A record holds a name in
// UTF-8, padded with at least one NUL; a longer name is cut at its last whole character.
//
// On entry count is the number of records that buffer has room for; on return it is the number of
// connections, which may be larger. Returns 0, or -1 when count is null or the list cannot be read.
//
// The names are the lines of the UTF-8 file "data_connections" in the settings directory, without blank lines
// and lines that begin with "#". Without that file there is one connection, "internet". Each call reads the
// file and blocks for it. Any thread may call it while none changes the environment.
ORMU_PLATFORM_EXPORT int NAPI_ListAllProfile(void* buffer, int* count);

#ifdef __cplusplus
}
#endif

#endif
