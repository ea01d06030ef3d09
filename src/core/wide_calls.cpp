#include "core/wide_calls.h"

#include "core/platform_flags.h"
#include "core/wide_fallbacks.h"

namespace zv::core {

constinit WideCalls g_wideCalls{};

namespace {

// One library's entries, taken by exact name. The reference that LoadLibraryA takes is given back
// at once: the library stays in the process, since this one is linked against it as well.
class EntryPoints {
public:
    explicit EntryPoints(const char* library) : module(LoadLibraryA(library)) {}
    ~EntryPoints() {
        if (module != nullptr)
            FreeLibrary(module);
    }
    EntryPoints(const EntryPoints&) = delete;
    EntryPoints& operator=(const EntryPoints&) = delete;

    template <typename Function>
    void take(Function& entry, const char* name) const {
        entry =
            module != nullptr ? reinterpret_cast<Function>(GetProcAddress(module, name)) : nullptr;
    }

private:
    HMODULE module;
};

} // namespace

void LoadWideCalls() {
    if (g_bCoreNT == 0) {
        g_wideCalls = narrowFallbacks();
        return;
    }
    {
        const EntryPoints kernel("kernel32.dll");
        kernel.take(g_wideCalls.GetTempFileNameW, "GetTempFileNameW");
        kernel.take(g_wideCalls.GetTempPathW, "GetTempPathW");
        kernel.take(g_wideCalls.CreateFileW, "CreateFileW");
        kernel.take(g_wideCalls.DeleteFileW, "DeleteFileW");
        kernel.take(g_wideCalls.CreateDirectoryW, "CreateDirectoryW");
        kernel.take(g_wideCalls.RemoveDirectoryW, "RemoveDirectoryW");
        kernel.take(g_wideCalls.FindFirstFileW, "FindFirstFileW");
        kernel.take(g_wideCalls.CreateProcessW, "CreateProcessW");
        kernel.take(g_wideCalls.GetFullPathNameW, "GetFullPathNameW");
        kernel.take(g_wideCalls.LoadLibraryW, "LoadLibraryW");
        kernel.take(g_wideCalls.ExpandEnvironmentStringsW, "ExpandEnvironmentStringsW");
        kernel.take(g_wideCalls.GetComputerNameW, "GetComputerNameW");
    }
    {
        const EntryPoints services("advapi32.dll");
        services.take(g_wideCalls.GetUserNameW, "GetUserNameW");
        services.take(g_wideCalls.RegCreateKeyExW, "RegCreateKeyExW");
        services.take(g_wideCalls.RegSetValueExW, "RegSetValueExW");
        services.take(g_wideCalls.RegOpenKeyExW, "RegOpenKeyExW");
        services.take(g_wideCalls.RegQueryValueExW, "RegQueryValueExW");
        services.take(g_wideCalls.RegDeleteKeyW, "RegDeleteKeyW");
        services.take(g_wideCalls.RegEnumKeyExW, "RegEnumKeyExW");
        services.take(g_wideCalls.RegEnumValueW, "RegEnumValueW");
        services.take(g_wideCalls.RegDeleteValueW, "RegDeleteValueW");
    }
}

} // namespace zv::core
