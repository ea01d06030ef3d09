// Libraries. "kernel32.dll" and "advapi32.dll" name the stand-in itself, of which the wide
// functions are found by name. A bare name "x" or "x.dll" is libx.so or x.so, by the dynamic
// linker's rules first and then in the host program's folder; a name with a "/" is loaded as it is.
#include "platform/posix/code_pages.h"
#include "platform/posix/last_error.h"
#include "platform/posix/wide_functions.h"

#include <cctype>
#include <climits>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <dlfcn.h>
#include <strings.h>
#include <unistd.h>

using namespace zv::platform::posix;

namespace {

struct EntryPoint {
    const char* name;
    FARPROC address;
};

template <typename Function>
FARPROC asEntry(Function* function) {
    return reinterpret_cast<FARPROC>(function);
}

// Not constants: an address with another type is none, to the language.
std::span<const EntryPoint> kernelEntries() {
    static const EntryPoint entries[] = {
        {"GetTempFileNameW", asEntry(GetTempFileNameW)},
        {"GetTempPathW", asEntry(GetTempPathW)},
        {"CreateFileW", asEntry(CreateFileW)},
        {"DeleteFileW", asEntry(DeleteFileW)},
        {"CreateDirectoryW", asEntry(CreateDirectoryW)},
        {"RemoveDirectoryW", asEntry(RemoveDirectoryW)},
        {"FindFirstFileW", asEntry(FindFirstFileW)},
        {"CreateProcessW", asEntry(CreateProcessW)},
        {"GetFullPathNameW", asEntry(GetFullPathNameW)},
        {"LoadLibraryW", asEntry(LoadLibraryW)},
        {"ExpandEnvironmentStringsW", asEntry(ExpandEnvironmentStringsW)},
        {"GetComputerNameW", asEntry(GetComputerNameW)},
    };
    return entries;
}

std::span<const EntryPoint> accountEntries() {
    static const EntryPoint entries[] = {
        {"GetUserNameW", asEntry(GetUserNameW)},
        {"RegCreateKeyExW", asEntry(RegCreateKeyExW)},
        {"RegSetValueExW", asEntry(RegSetValueExW)},
        {"RegOpenKeyExW", asEntry(RegOpenKeyExW)},
        {"RegQueryValueExW", asEntry(RegQueryValueExW)},
        {"RegDeleteKeyW", asEntry(RegDeleteKeyW)},
        {"RegEnumKeyExW", asEntry(RegEnumKeyExW)},
        {"RegEnumValueW", asEntry(RegEnumValueW)},
        {"RegDeleteValueW", asEntry(RegDeleteValueW)},
    };
    return entries;
}

// A part of the stand-in that goes by a module's name. Its address is the module's handle.
struct SystemModule {
    const char* name;
    std::span<const EntryPoint> (*entries)();
};

constinit SystemModule systemModules[] = {
    {"kernel32", kernelEntries},
    {"advapi32", accountEntries},
};

constexpr std::string_view kWindowsEnding = ".dll";

bool endsWithIgnoringCase(std::string_view text, std::string_view ending) {
    return text.size() >= ending.size() && strncasecmp(text.data() + text.size() - ending.size(),
                                                       ending.data(), ending.size()) == 0;
}

SystemModule* systemModuleNamed(const std::string& name) {
    for (SystemModule& module : systemModules)
        if (strcasecmp(name.c_str(), module.name) == 0)
            return &module;
    return nullptr;
}

const SystemModule* systemModuleOf(HMODULE handle) {
    for (const SystemModule& module : systemModules)
        if (&module == handle)
            return &module;
    return nullptr;
}

std::string hostFolder() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    const std::string_view program(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    const std::size_t slash = program.find_last_of('/');
    return slash != std::string_view::npos ? std::string(program.substr(0, slash + 1)) : "";
}

HMODULE loadNamed(const std::string& name) {
    std::vector<std::string> files = {"lib" + name + ".so", name + ".so"};
    if (name.ends_with(".so") || name.find(".so.") != std::string::npos)
        files.insert(files.begin(), name);
    for (const std::string& folder : {std::string(), hostFolder()})
        for (const std::string& file : files)
            if (void* module = dlopen((folder + file).c_str(), RTLD_NOW | RTLD_LOCAL))
                return module;
    return nullptr;
}

} // namespace

HMODULE LoadLibraryA(const char* name) {
    return guarded<HMODULE>(nullptr, [&]() -> HMODULE {
        if (name == nullptr || *name == 0)
            return failWith<HMODULE>(ERROR_INVALID_PARAMETER, nullptr);
        HMODULE module = nullptr;
        if (std::strchr(name, '/') != nullptr) {
            module = dlopen(name, RTLD_NOW | RTLD_LOCAL);
        } else {
            std::string base(name);
            if (endsWithIgnoringCase(base, kWindowsEnding))
                base.resize(base.size() - kWindowsEnding.size());
            module = systemModuleNamed(base);
            if (module == nullptr && !base.empty())
                module = loadNamed(base);
        }
        return module != nullptr ? module : failWith<HMODULE>(ERROR_MOD_NOT_FOUND, nullptr);
    });
}

HMODULE LoadLibraryW(const char16_t* name) {
    return guarded<HMODULE>(nullptr, [&]() -> HMODULE {
        if (name == nullptr)
            return failWith<HMODULE>(ERROR_INVALID_PARAMETER, nullptr);
        std::string narrowed;
        if (!narrowExactly(name, &narrowed))
            return failWith<HMODULE>(ERROR_INVALID_NAME, nullptr);
        return LoadLibraryA(narrowed.c_str());
    });
}

BOOL FreeLibrary(HMODULE module) {
    if (module == nullptr)
        return failWith(ERROR_INVALID_HANDLE, FALSE);
    if (systemModuleOf(module) != nullptr)
        return TRUE;
    return dlclose(module) == 0 ? TRUE : failWith(ERROR_INVALID_HANDLE, FALSE);
}

FARPROC GetProcAddress(HMODULE module, const char* name) {
    if (module == nullptr)
        return failWith<FARPROC>(ERROR_INVALID_HANDLE, nullptr);
    FARPROC address = nullptr;
    if (name == nullptr) {
        return failWith<FARPROC>(ERROR_PROC_NOT_FOUND, nullptr);
    } else if (const SystemModule* system = systemModuleOf(module)) {
        for (const EntryPoint& entry : system->entries())
            if (std::strcmp(entry.name, name) == 0)
                address = entry.address;
    } else {
        address = reinterpret_cast<FARPROC>(dlsym(module, name));
    }
    return address != nullptr ? address : failWith<FARPROC>(ERROR_PROC_NOT_FOUND, nullptr);
}
