/* A host in C that is linked to the library: no look-up by name, and the conventions of the header
 * alone. Prints nothing; the exit status tells. */
#include "zvsupport/zvsupport.h"

#include "c_host.h"

#include <stdio.h>

static int exists(const char* path) {
    FILE* file = fopen(path, "rb");
    if (file != NULL)
        fclose(file);
    return file != NULL;
}

int main(void) {
    int i;
    if (hostEnterScratch() != 0)
        return 1;
    /* Again and again: a convention that both sides do not share would eat the stack up. */
    for (i = 0; i < 100000; ++i) {
        if (RegistryMigrate("nobody", i, "INI", -i) != (int32_t)0x80070057u ||
            NWCheckUnicodeSupport(NULL) != (int32_t)0x80070057u)
            return 2;
    }
    {
        FILE* file = fopen("zvregistry.ini", "wb");
        if (file == NULL || fputs("[ZV_HKEY_USER\\nobody]\r\nk=v\r\n\r\n", file) < 0 ||
            fclose(file) != 0)
            return 3;
    }
    if (RegistryMigrate("INI", 0, "NATIVE", 0) != 0 || exists("zvregistry.ini") ||
        remove("zvregistry.ini.unmigrated") != 0)
        return 4;
    return hostLeaveScratch() != 0 ? 5 : 0;
}
