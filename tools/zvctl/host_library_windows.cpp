#include "host_library.h"

#include <stdexcept>

#include <windows.h>

namespace zvctl {
namespace {

constexpr const char* kLibraryName = "zvsupport.dll";

// The system looks beside the program first. A path that is given is taken as it is, so that a
// library named without a folder is the current folder's.
HMODULE load(const std::string& path) {
    if (path.empty())
        return LoadLibraryA(kLibraryName);
    char whole[MAX_PATH];
    const DWORD length = GetFullPathNameA(path.c_str(), MAX_PATH, whole, nullptr);
    return length != 0 && length < MAX_PATH ? LoadLibraryA(whole) : nullptr;
}

template <typename Function>
void find(HMODULE module, const char* name, Function& function) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    if (function == nullptr)
        throw std::runtime_error(std::string("the library does not export ") + name);
}

} // namespace

HostLibrary::HostLibrary(const std::string& path) : module(load(path)) {
    if (module == nullptr)
        throw std::runtime_error((path.empty() ? kLibraryName : path) + " (Windows error " +
                                 std::to_string(GetLastError()) + ")");
    const auto loaded = static_cast<HMODULE>(module);
    try {
        find(loaded, "RegistryMigrate", registryMigrate);
        find(loaded, "NWCheckUnicodeSupport", checkUnicodeSupport);
    } catch (...) {
        FreeLibrary(loaded);
        throw;
    }
}

HostLibrary::~HostLibrary() {
    FreeLibrary(static_cast<HMODULE>(module));
}

} // namespace zvctl
