// The library as a host process sees it: loaded at run time, known by its two exported names.
#ifndef ZVSUPPORT_TOOLS_ZVCTL_HOST_LIBRARY_H
#define ZVSUPPORT_TOOLS_ZVCTL_HOST_LIBRARY_H

#include "zvsupport/zvsupport.h"

#include <string>

namespace zvctl {

class HostLibrary {
public:
    // Loads the library at path; with an empty path the one beside this program, else the system's.
    // Throws std::runtime_error that tells what is missing.
    explicit HostLibrary(const std::string& path);
    ~HostLibrary();
    HostLibrary(const HostLibrary&) = delete;
    HostLibrary& operator=(const HostLibrary&) = delete;

    decltype(&RegistryMigrate) registryMigrate = nullptr;
    decltype(&NWCheckUnicodeSupport) checkUnicodeSupport = nullptr;

private:
    void* module = nullptr;
};

} // namespace zvctl

#endif
