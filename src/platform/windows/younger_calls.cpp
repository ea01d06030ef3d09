// Calls that older members of 32-bit Windows lack. The DLL would not load there if it imported
// them, so each is looked up when it is used and answered otherwise where it is missing.
#include "platform/win32.h"

namespace {

// kernel32 stays in the process whoever gives a reference back.
template <typename Function>
Function find(const char* name) {
    const HMODULE kernel = LoadLibraryA("kernel32.dll");
    const FARPROC entry = GetProcAddress(kernel, name);
    FreeLibrary(kernel);
    return reinterpret_cast<Function>(entry);
}

bool exists(const char* path) {
    const HANDLE file = CreateFileA(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file != INVALID_HANDLE_VALUE && CloseHandle(file) != 0;
}

// In one step where the system can, and otherwise by making room first.
BOOL replaceWithoutHelp(const char* replaced, const char* replacement) {
    if (!exists(replaced))
        return FALSE;
    if (MoveFileExA(replacement, replaced, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0)
        return TRUE;
    if (GetLastError() != ERROR_CALL_NOT_IMPLEMENTED)
        return FALSE;
    using Move = BOOL(ZV_SYSTEM_CALL*)(const char* from, const char* to);
    const auto move = find<Move>("MoveFileA");
    return DeleteFileA(replaced) != 0 && move(replacement, replaced) != 0;
}

} // namespace

extern "C" {

// Windows 2000.
BOOL ZV_SYSTEM_CALL ReplaceFileA(const char* replaced, const char* replacement, const char* backup,
                                 DWORD flags, void* exclude, void* reserved) {
    const auto function = find<decltype(&ReplaceFileA)>("ReplaceFileA");
    return function != nullptr ? function(replaced, replacement, backup, flags, exclude, reserved)
                               : replaceWithoutHelp(replaced, replacement);
}

// Windows Vista, as are the links that it resolves.
DWORD ZV_SYSTEM_CALL GetFinalPathNameByHandleA(HANDLE file, char* path, DWORD size, DWORD flags) {
    const auto function = find<decltype(&GetFinalPathNameByHandleA)>("GetFinalPathNameByHandleA");
    if (function != nullptr)
        return function(file, path, size, flags);
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return 0;
}

// The NT family, where alone it is called.
BOOL ZV_SYSTEM_CALL TryEnterCriticalSection(CRITICAL_SECTION* section) {
    const auto function = find<decltype(&TryEnterCriticalSection)>("TryEnterCriticalSection");
    return function != nullptr ? function(section) : FALSE;
}

} // extern "C"
