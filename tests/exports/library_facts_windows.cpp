#include "exports/library_facts.h"

#include <windows.h>

namespace zv::test {

// From the export directory of the image that the loader has put into memory.
std::set<std::string> exportedNames(const char* library) {
    std::set<std::string> names;
    const HMODULE module = LoadLibraryA(library);
    if (module == nullptr)
        return names;
    const auto* base = reinterpret_cast<const BYTE*>(module);
    const auto at = [base]<typename T>(DWORD offset, const T*& structure) {
        structure = reinterpret_cast<const T*>(base + offset);
    };
    const IMAGE_DOS_HEADER* dos = nullptr;
    const IMAGE_NT_HEADERS* headers = nullptr;
    const IMAGE_EXPORT_DIRECTORY* exports = nullptr;
    const DWORD* offsets = nullptr;
    at(0, dos);
    at(static_cast<DWORD>(dos->e_lfanew), headers);
    at(headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress, exports);
    at(exports->AddressOfNames, offsets);
    for (DWORD i = 0; i < exports->NumberOfNames; ++i)
        names.insert(reinterpret_cast<const char*>(base + offsets[i]));
    if (exports->NumberOfFunctions != exports->NumberOfNames)
        names.insert("(functions without a name)");
    FreeLibrary(module);
    return names;
}

std::string userName() {
    char name[257];
    DWORD size = sizeof name;
    return GetUserNameA(name, &size) != 0 ? name : "?";
}

} // namespace zv::test
