#ifndef TESTS_CONTRACT_REFUSAL_H
#define TESTS_CONTRACT_REFUSAL_H

/* What a refused request of memory writes to the debug output and throws, for C and C++. */

#include <stdint.h>
#include <stdio.h>

typedef struct {
  char debug[256];
  char message[160];
} Refusal;

static inline Refusal expectedRefusal(uint32_t size, uint32_t total, uint32_t free, uint32_t blocks,
                                      int32_t status) {
  Refusal refusal;
  snprintf(refusal.debug, sizeof refusal.debug,
           "[operator new] failed (size is %i)\n"
           "[getFreeHeapMemory] Getting free heap memory.\n"
           "[getFreeHeapMemory] heapstatus=%i\n"
           "[getFreeHeapMemory] Number of blocks visited: %u\n",
           (int)size, (int)status, (unsigned)blocks);
  snprintf(refusal.message, sizeof refusal.message,
           "Memory allocation failure; %u bytes requested; %u bytes already in heap; %u bytes free "
           "heap space.",
           (unsigned)size, (unsigned)total, (unsigned)free);
  return refusal;
}

#endif
