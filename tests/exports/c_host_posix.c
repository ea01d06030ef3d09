#define _GNU_SOURCE
#include "c_host.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <unistd.h>

static char folder[] = "/tmp/zvtest-XXXXXX";

int hostEnterScratch(void) {
    return mkdtemp(folder) == NULL || chdir(folder) != 0 || setenv("XDG_DATA_HOME", folder, 1) != 0;
}

int hostLeaveScratch(void) {
    unlink("zentrova/registry.reg");
    unlink("zentrova/registry.reg.lock");
    rmdir("zentrova");
    return chdir("/") != 0 || rmdir(folder) != 0;
}

void* hostLoad(const char* library) {
    return dlopen(library, RTLD_NOW | RTLD_LOCAL);
}

HostFunction hostFind(void* module, const char* name) {
    HostFunction function;
    *(void**)&function = dlsym(module, name);
    return function;
}

int hostUnload(void* module, const char* library) {
    return dlclose(module) != 0 || dlopen(library, RTLD_NOW | RTLD_NOLOAD) != NULL;
}
