/* Loads, uses and unloads the library again and again, as a host written in C.
 * usage: unload_test LIBRARY ROUNDS, in any folder: it works in one of its own. */
#include "zvsupport/zvsupport.h"

#include "c_host.h"

#include <stdio.h>
#include <stdlib.h>

typedef int32_t(ZV_STDCALL* MigrateFunction)(const char*, int32_t, const char*, int32_t);
typedef int32_t(ZV_STDCALL* CheckFunction)(const char*);

static int fail(const char* what) {
    fprintf(stderr, "unload_test: %s\n", what);
    return 1;
}

static int exists(const char* path) {
    FILE* file = fopen(path, "rb");
    if (file != NULL)
        fclose(file);
    return file != NULL;
}

static int use(const char* library) {
    void* module = hostLoad(library);
    if (module == NULL)
        return fail("the library cannot be loaded");
    const MigrateFunction migrate = (MigrateFunction)hostFind(module, "RegistryMigrate");
    const CheckFunction check = (CheckFunction)hostFind(module, "NWCheckUnicodeSupport");
    if (migrate == NULL || check == NULL)
        return fail("an exported name is missing");

    FILE* file = fopen("zvregistry.ini", "wb");
    if (file == NULL)
        return fail("cannot write the registry file");
    fputs("[ZV_HKEY_CONFIG\\Software\\Test]\r\nname=text\r\n\r\n", file);
    fclose(file);
    if (migrate("ini", 0, "native", 0) != 0 || exists("zvregistry.ini"))
        return fail("the migration from the file");
    if (migrate("native", 0, "ini", 0) != 0 || !exists("zvregistry.ini"))
        return fail("the migration into the file");
    if (migrate("nobody", 0, "ini", 0) != (int32_t)0x80070057u ||
        check(NULL) != (int32_t)0x80070057u)
        return fail("a wrong argument is not refused");
    if (hostUnload(module, library) != 0)
        return fail("the library is still there after it was unloaded");
    return 0;
}

int main(int argc, char** argv) {
    if (argc != 3)
        return fail("usage: unload_test LIBRARY ROUNDS");
    if (hostEnterScratch() != 0)
        return fail("no place to work in");
    int failures = 0;
    for (int round = atoi(argv[2]); round > 0 && failures == 0; --round)
        failures = use(argv[1]);
    remove("zvregistry.ini");
    if (hostLeaveScratch() != 0)
        return fail("something is left behind");
    return failures;
}
