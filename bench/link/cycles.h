#ifndef CYCLES_H
#define CYCLES_H

#include <stdint.h>

/* One use of the daemon: connect and register, read the ack, ask for a profile's status, close. 0 when all
 * went well. */
#ifdef __cplusplus
extern "C" {
#endif

int bareCycle(const char* profileName, uint32_t* status);
int libraryCycle(const char* profileName, uint32_t* status);

#ifdef __cplusplus
}
#endif

#endif
