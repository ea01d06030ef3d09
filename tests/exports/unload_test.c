/* Loads, uses and unloads the library again and again, as a host written in C.
 * usage: unload_test LIBRARY ROUNDS, in any folder: it works in one of its own. */
#define _GNU_SOURCE
#include "zvsupport/zvsupport.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

typedef int32_t(ZV_STDCALL* MigrateFunction)(const char*, int32_t, const char*, int32_t);
typedef int32_t(ZV_STDCALL* CheckFunction)(const char*);

static int fail(const char* what) {
    fprintf(stderr, "unload_test: %s\n", what);
    return 1;
}

static int use(const char* library) {
    void* module = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (module == NULL)
        return fail(dlerror());
    MigrateFunction migrate;
    CheckFunction check;
    *(void**)&migrate = dlsym(module, "RegistryMigrate");
    *(void**)&check = dlsym(module, "NWCheckUnicodeSupport");
    if (migrate == NULL || check == NULL)
        return fail("an exported name is missing");

    struct stat unused;
    FILE* file = fopen("zvregistry.ini", "wb");
    if (file == NULL)
        return fail("cannot write the registry file");
    fputs("[ZV_HKEY_CONFIG\\Software\\Test]\r\nname=text\r\n\r\n", file);
    fclose(file);
    if (migrate("ini", 0, "native", 0) != 0 || stat("zvregistry.ini", &unused) == 0)
        return fail("the migration from the file");
    if (migrate("native", 0, "ini", 0) != 0 || stat("zvregistry.ini", &unused) != 0)
        return fail("the migration into the file");
    if (migrate("nobody", 0, "ini", 0) != (int32_t)0x80070057u ||
        check(NULL) != (int32_t)0x80070057u)
        return fail("a wrong argument is not refused");
    if (dlclose(module) != 0)
        return fail("the library cannot be closed");
    if (dlopen(library, RTLD_NOW | RTLD_NOLOAD) != NULL)
        return fail("the library is still there after it was closed");
    return 0;
}

int main(int argc, char** argv) {
    if (argc != 3)
        return fail("usage: unload_test LIBRARY ROUNDS");
    char folder[] = "/tmp/zvtest-XXXXXX";
    if (mkdtemp(folder) == NULL || chdir(folder) != 0 || setenv("XDG_DATA_HOME", folder, 1) != 0)
        return fail("no folder to work in");
    int failures = 0;
    for (int round = atoi(argv[2]); round > 0 && failures == 0; --round)
        failures = use(argv[1]);
    unlink("zvregistry.ini");
    unlink("zentrova/registry.reg");
    unlink("zentrova/registry.reg.lock");
    rmdir("zentrova");
    if (chdir("/") != 0 || rmdir(folder) != 0)
        return fail("something is left behind");
    return failures;
}
