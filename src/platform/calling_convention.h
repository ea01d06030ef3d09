// The calling conventions that outsiders rely on, each behind one name.
//
// On 32-bit Windows both conventions are __stdcall (the callee removes the arguments); every other
// target has a single convention and both names stand for nothing.
#ifndef ZVSUPPORT_PLATFORM_CALLING_CONVENTION_H
#define ZVSUPPORT_PLATFORM_CALLING_CONVENTION_H

#if defined(_WIN32) && !defined(_WIN64)
#define ZV_SYSTEM_CALL __attribute__((__stdcall__))
#else
#define ZV_SYSTEM_CALL
#endif

// Exported functions, system calls and entry points found by name.
#define ZV_STDAPI_CALL ZV_SYSTEM_CALL

// Methods of reference-counted interfaces (the COM convention).
#define ZV_INTERFACE_CALL ZV_SYSTEM_CALL

#endif
