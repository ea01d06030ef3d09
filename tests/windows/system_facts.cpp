#include "windows/system_facts.h"

#include <cstddef>

#include <windows.h>

namespace zv::test {

std::vector<Fact> systemFacts() {
#define ZV_SIZE(type) {"size of " #type, sizeof(type)},
#define ZV_OFFSET(type, field) {#type "." #field, offsetof(type, field)},
#define ZV_VALUE(name) {#name, (unsigned long long)(name)},
#define ZV_RENAMED(ours, theirs) {#theirs, (unsigned long long)(theirs)},
    return {
#include "windows/facts.inc"
    };
}

std::string accessListOf(const std::string& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, READ_CONTROL, &key) != 0)
        return "no key";
    DWORD size = 0;
    RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, nullptr, &size);
    std::vector<char> descriptor(size);
    const LONG error = RegGetKeySecurity(key, DACL_SECURITY_INFORMATION, descriptor.data(), &size);
    RegCloseKey(key);
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL list = nullptr;
    if (error != 0 || !GetSecurityDescriptorDacl(descriptor.data(), &present, &list, &defaulted))
        return "no descriptor";
    return present && list != nullptr ? std::to_string(list->AceCount) : "none";
}

bool keepsNoAccessList() {
    const char* path = "Software\\Zentrova Open Key";
    SECURITY_DESCRIPTOR descriptor;
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, &descriptor, TRUE};
    HKEY key = nullptr;
    RegCreateKeyExA(HKEY_CURRENT_USER, path, 0, nullptr, 0, KEY_ALL_ACCESS, &attributes, &key,
                    nullptr);
    RegCloseKey(key);
    const bool listed = accessListOf(path) != "none";
    RegDeleteKeyA(HKEY_CURRENT_USER, path);
    return listed;
}

} // namespace zv::test
