#include "c_host.h"

#include <stdio.h>

#include <windows.h>

static char folder[MAX_PATH];
static char key[MAX_PATH];
static const struct {
    HKEY root;
    const char* scratch;
} kRoots[] = {
    {HKEY_CLASSES_ROOT, "classes"}, {HKEY_LOCAL_MACHINE, "machine"}, {HKEY_CURRENT_USER, "user"}};
enum { kRootCount = sizeof kRoots / sizeof kRoots[0] };

int hostEnterScratch(void) {
    HKEY places[kRootCount];
    char base[MAX_PATH - 32];
    int i;
    if (GetTempPathA(sizeof base, base) == 0)
        return 1;
    snprintf(folder, sizeof folder, "%szvtest-c-%lu", base, GetCurrentProcessId());
    snprintf(key, sizeof key, "Software\\Zentrova Tests\\c-%lu", GetCurrentProcessId());
    if (!CreateDirectoryA(folder, NULL) || !SetCurrentDirectoryA(folder))
        return 1;
    for (i = 0; i < kRootCount; ++i) {
        char path[MAX_PATH + 16];
        snprintf(path, sizeof path, "%s\\%s", key, kRoots[i].scratch);
        if (RegCreateKeyExA(HKEY_CURRENT_USER, path, 0, NULL, 0, KEY_ALL_ACCESS, NULL, &places[i],
                            NULL) != 0)
            return 1;
    }
    for (i = 0; i < kRootCount; ++i) {
        if (RegOverridePredefKey(kRoots[i].root, places[i]) != 0)
            return 1;
        RegCloseKey(places[i]);
    }
    return 0;
}

int hostLeaveScratch(void) {
    int i;
    for (i = 0; i < kRootCount; ++i)
        RegOverridePredefKey(kRoots[i].root, NULL);
    RegDeleteTreeA(HKEY_CURRENT_USER, key);
    RegDeleteKeyA(HKEY_CURRENT_USER, key);
    return !SetCurrentDirectoryA("C:\\") || !RemoveDirectoryA(folder);
}

void* hostLoad(const char* library) {
    return LoadLibraryA(library);
}

HostFunction hostFind(void* module, const char* name) {
    return (HostFunction)(void (*)(void))GetProcAddress(module, name);
}

int hostUnload(void* module, const char* library) {
    return !FreeLibrary(module) || GetModuleHandleA(library) != NULL;
}
