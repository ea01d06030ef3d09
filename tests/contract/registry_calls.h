// Registry calls in the form that the tests write them.
#ifndef ZVSUPPORT_TESTS_CONTRACT_REGISTRY_CALLS_H
#define ZVSUPPORT_TESTS_CONTRACT_REGISTRY_CALLS_H

#include "contract/wide_functions.h"
#include "platform/win32.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zv::test {

inline const HKEY kUser = RootKeyFromValue(HKEY_CURRENT_USER_VALUE);
inline const HKEY kMachine = RootKeyFromValue(HKEY_LOCAL_MACHINE_VALUE);

inline HKEY create(HKEY parent, const char16_t* path, REGSAM access = KEY_ALL_ACCESS) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(parent, path, 0, nullptr, 0, access, nullptr, &key, nullptr), 0);
    return key;
}

inline LONG open(HKEY parent, const char16_t* path, REGSAM access, HKEY& key) {
    return RegOpenKeyExW(parent, path, 0, access, &key);
}

inline LONG setText(HKEY key, const char16_t* name, const std::u16string& text) {
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                          static_cast<DWORD>(2 * text.size() + 2));
}

inline std::u16string text(HKEY key, const char16_t* name) {
    char16_t buffer[100];
    DWORD size = sizeof(buffer);
    const LONG code =
        RegQueryValueExW(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size);
    return code == 0 ? std::u16string(buffer, size / 2 - 1) : u"(none)";
}

inline std::vector<std::u16string> keyNames(HKEY key) {
    std::vector<std::u16string> names;
    char16_t name[256];
    for (DWORD index = 0;; ++index) {
        DWORD length = 256;
        FILETIME time;
        if (RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, &time) != 0)
            return names;
        names.emplace_back(name, length);
    }
}

inline std::vector<std::u16string> valueNames(HKEY key) {
    std::vector<std::u16string> names;
    char16_t name[300];
    for (DWORD index = 0;; ++index) {
        DWORD length = 300;
        if (RegEnumValueW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != 0)
            return names;
        names.emplace_back(name, length);
    }
}

} // namespace zv::test

#endif
