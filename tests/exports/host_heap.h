// The host has an allocation operator of its own, whose blocks only it can free: a library that
// mixed the two up would crash at once.
#ifndef ZVSUPPORT_TESTS_EXPORTS_HOST_HEAP_H
#define ZVSUPPORT_TESTS_EXPORTS_HOST_HEAP_H

#include <atomic>

extern std::atomic<long> hostAllocations; // so far

#endif
