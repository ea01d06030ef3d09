#include "host_library.h"

#include <filesystem>
#include <stdexcept>

#include <dlfcn.h>

namespace zvctl {
namespace {

constexpr const char* kLibraryName = "libzvsupport.so";

void* load(const std::string& path) {
    if (!path.empty()) // a path with a separator is not searched for
        return dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    std::error_code unknown;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
    const auto beside = program.parent_path() / kLibraryName;
    if (!unknown && std::filesystem::exists(beside, unknown))
        return dlopen(beside.c_str(), RTLD_NOW | RTLD_LOCAL);
    return dlopen(kLibraryName, RTLD_NOW | RTLD_LOCAL);
}

template <typename Function>
void find(void* module, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(module, name));
    if (function == nullptr)
        throw std::runtime_error(std::string("the library does not export ") + name);
}

} // namespace

HostLibrary::HostLibrary(const std::string& path) : module(load(path)) {
    if (module == nullptr)
        throw std::runtime_error(dlerror());
    try {
        find(module, "RegistryMigrate", registryMigrate);
        find(module, "NWCheckUnicodeSupport", checkUnicodeSupport);
    } catch (...) {
        dlclose(module);
        throw;
    }
}

HostLibrary::~HostLibrary() {
    dlclose(module);
}

} // namespace zvctl
