// The DLL as it was built: what it needs, what it says of itself, and that it goes without a trace.
#include "zvsupport/zvsupport.h"

#include <array>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <windows.h>

#include <gtest/gtest.h>

namespace {

template <typename T>
const T* at(HMODULE module, DWORD offset) {
    return reinterpret_cast<const T*>(reinterpret_cast<const BYTE*>(module) + offset);
}

const IMAGE_OPTIONAL_HEADER& headerOf(HMODULE module) {
    const auto* dos = at<IMAGE_DOS_HEADER>(module, 0);
    return at<IMAGE_NT_HEADERS>(module, static_cast<DWORD>(dos->e_lfanew))->OptionalHeader;
}

struct LibraryCloser {
    using pointer = HMODULE;
    void operator()(HMODULE module) const { FreeLibrary(module); }
};

TEST(Dll, NeedsTheSystemsLibrariesAlone) {
    const std::unique_ptr<HMODULE, LibraryCloser> module(LoadLibraryA(ZV_LIBRARY));
    ASSERT_TRUE(module);
    const std::set<std::string> allowed = {"advapi32.dll", "kernel32.dll", "mpr.dll", "msvcrt.dll",
                                           "ole32.dll"};
    // What older systems lack would keep the DLL from being loaded there.
    const std::set<std::string> younger = {"GetFinalPathNameByHandleA", "GetTickCount64",
                                           "ReplaceFileA", "TryEnterCriticalSection"};
    const auto& directory = headerOf(module.get()).DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    int count = 0;
    for (const auto* import = at<IMAGE_IMPORT_DESCRIPTOR>(module.get(), directory.VirtualAddress);
         import->Name != 0; ++import, ++count) {
        std::string name = at<char>(module.get(), import->Name);
        CharLowerA(name.data());
        EXPECT_TRUE(allowed.contains(name)) << name;
        for (const auto* entry = at<IMAGE_THUNK_DATA>(module.get(), import->OriginalFirstThunk);
             entry->u1.AddressOfData != 0; ++entry) {
            const auto* call =
                at<IMAGE_IMPORT_BY_NAME>(module.get(), static_cast<DWORD>(entry->u1.AddressOfData));
            EXPECT_FALSE(younger.contains(call->Name)) << call->Name;
        }
    }
    EXPECT_GE(count, 3);
}

TEST(Dll, TellsItsVersion) {
    DWORD ignored = 0;
    std::vector<char> block(GetFileVersionInfoSizeA(ZV_LIBRARY, &ignored));
    ASSERT_FALSE(block.empty());
    ASSERT_TRUE(GetFileVersionInfoA(ZV_LIBRARY, 0, static_cast<DWORD>(block.size()), block.data()));
    void* value = nullptr;
    UINT size = 0;
    ASSERT_TRUE(VerQueryValueA(block.data(), "\\", &value, &size));
    const auto* fixed = static_cast<VS_FIXEDFILEINFO*>(value);
    EXPECT_EQ(HIWORD(fixed->dwFileVersionMS), 1);
    EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_DLL));
    ASSERT_TRUE(VerQueryValueA(block.data(), "\\StringFileInfo\\040904E4\\OriginalFilename", &value,
                               &size));
    EXPECT_STREQ(static_cast<char*>(value), "zvsupport.dll");
}

struct Usage {
    DWORD handles = 0;
    DWORD slot = 0;         // the next thread-local slot that is free
    std::size_t memory = 0; // bytes of the process's heaps that are in use
};

Usage usage() {
    Usage now;
    GetProcessHandleCount(GetCurrentProcess(), &now.handles);
    now.slot = TlsAlloc();
    TlsFree(now.slot);
    std::array<HANDLE, 64> heaps{};
    const DWORD count = GetProcessHeaps(heaps.size(), heaps.data());
    for (DWORD i = 0; i < count && i < heaps.size(); ++i) {
        HeapLock(heaps[i]);
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heaps[i], &entry)) {
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0)
                now.memory += entry.cbData;
        }
        HeapUnlock(heaps[i]);
    }
    return now;
}

TEST(Dll, LeavesNothingBehindWhenItIsUnloaded) {
    const auto rounds = [](int count) {
        for (int i = 0; i < count; ++i) {
            const HMODULE module = LoadLibraryA(ZV_LIBRARY);
            ASSERT_NE(module, nullptr);
            const auto migrate = reinterpret_cast<decltype(&RegistryMigrate)>(
                reinterpret_cast<void (*)()>(GetProcAddress(module, "RegistryMigrate")));
            // Exceptions inside, in a thread that goes before the library and in one that stays.
            const auto refuse = [migrate] {
                EXPECT_EQ(migrate("nobody", 0, "INI", 0), static_cast<std::int32_t>(0x80070057));
            };
            std::thread(refuse).join();
            refuse();
            FreeLibrary(module);
            ASSERT_EQ(GetModuleHandleA(ZV_LIBRARY), nullptr);
        }
    };
    rounds(200); // what the system itself keeps from the first times
    const Usage before = usage();
    rounds(300);
    const Usage after = usage();
    EXPECT_EQ(after.handles, before.handles);
    EXPECT_EQ(after.slot, before.slot);
    EXPECT_LT(after.memory, before.memory + 300 * 64); // the system's own, if anything
}

} // namespace
