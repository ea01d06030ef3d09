// Keys of the Windows registry.
#ifndef ZVSUPPORT_CORE_REGISTRY_NATIVE_REG_KEY_H
#define ZVSUPPORT_CORE_REGISTRY_NATIVE_REG_KEY_H

#include "core/registry/reg_key.h"

namespace zv::core {

// The flat layer beneath the keys. Each answers a result code (Windows errors mapped by
// ResultFromWin32Error) and throws nothing; the registry does its own locking.

// Creates the key as needed, open to everyone. kInvalidArgument for a type that cannot be written.
ResultCode NativeRegSetValue(std::uint32_t root, const char16_t* path, const char16_t* name,
                             RegValueType type, const void* data, std::uint32_t size) noexcept;
// How often this process has set a value so far (counted on until it starts again at 0): whoever
// remembers what the registry said learns from it when to ask again.
std::uint32_t NativeRegChanges() noexcept;
// Text with references to the environment comes expanded, as kRegString; kFail when that does not
// fit.
ResultCode NativeRegQueryValue(std::uint32_t root, const char16_t* path, const char16_t* name,
                               RegValueType& type, void* data, std::uint32_t& size) noexcept;
ResultCode NativeRegOpenSubKeys(std::uint32_t root, const char16_t* path, Handle& handle) noexcept;
ResultCode NativeRegOpenValues(std::uint32_t root, const char16_t* path, Handle& handle) noexcept;
// kFail at the end. The enumeration advances whether or not the call succeeds.
ResultCode NativeRegEnumSubKey(Handle handle, char16_t* name, std::uint32_t& nameLength) noexcept;
// type, data and size are optional. Text is not expanded here.
ResultCode NativeRegEnumValue(Handle handle, char16_t* name, std::uint32_t& nameLength,
                              RegValueType* type = nullptr, void* data = nullptr,
                              std::uint32_t* size = nullptr) noexcept;
ResultCode NativeRegClose(Handle handle) noexcept; // null and kNoHandle are accepted

class CNativeRegKey final : public CRegKey {
public:
    using CRegKey::CRegKey;
    ~CNativeRegKey() override { closeEnumerations(); }

    ResultCode openSubKeys() override;
    ResultCode enumSubKey(char16_t* name, std::uint32_t& nameLength) override;
    ResultCode openValues() override;
    ResultCode enumValue(char16_t* name, std::uint32_t& nameLength) override;
    ResultCode closeEnum(Handle handle) override;
    ResultCode createKey(CoreRef<CRegKey>& result, std::uint32_t root,
                         const std::u16string& path) override;
    ResultCode queryValue(const char16_t* name, RegValueType& type, void* data,
                          std::uint32_t& size) override;
    ResultCode setValue(std::uint32_t root, const std::u16string& path, const char16_t* name,
                        RegValueType type, const void* data, std::uint32_t size) override;
};

} // namespace zv::core

#endif
