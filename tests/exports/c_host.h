/* What a host written in C asks of the system: a place to work in, and the loader. */
#ifndef ZVSUPPORT_TESTS_EXPORTS_C_HOST_H
#define ZVSUPPORT_TESTS_EXPORTS_C_HOST_H

#ifdef __cplusplus
extern "C" {
#endif

/* A new, empty folder becomes the current one, and the registry leads to an empty place. Non-zero
 * on failure. */
int hostEnterScratch(void);
/* Both go away. Non-zero when something is left in the folder. */
int hostLeaveScratch(void);

/* Null when it cannot be loaded. */
void* hostLoad(const char* library);
typedef void (*HostFunction)(void);
/* Null when there is none; to be cast to the function's own type. */
HostFunction hostFind(void* module, const char* name);
/* Non-zero when the library is still in the process afterwards. */
int hostUnload(void* module, const char* library);

#ifdef __cplusplus
}
#endif

#endif
