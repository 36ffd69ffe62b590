#ifndef NAPI_LISTALLPROFILE_H
#define NAPI_LISTALLPROFILE_H

#define NAPI_PROFILE_RECORD_SIZE 64

#ifdef __cplusplus
extern "C" {
#endif

// Lists the phone's data connections as records of NAPI_PROFILE_RECORD_SIZE bytes. A record holds a name in
// UTF-8, filled up with NULs, one at least; a longer name ends at its last whole character.
//
// count: in, the room in buffer, in records; out, how many connections there are in all, which may be more
// than were written. Returns 0 on success, -1 when count is null or the list cannot be read.
//
// The names are the lines of the UTF-8 file "data_connections" in the settings directory, but for blank lines
// and those that begin with "#". Without that file there is one, "internet". The file is read
// on every call, which blocks for it. For any thread.
int NAPI_ListAllProfile(void* buffer, int* count);

#ifdef __cplusplus
}
#endif

#endif
