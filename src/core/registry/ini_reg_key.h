// Keys of the registry file. Every key is a section, every value a line; only text is kept.
#ifndef ZVSUPPORT_CORE_REGISTRY_INI_REG_KEY_H
#define ZVSUPPORT_CORE_REGISTRY_INI_REG_KEY_H

#include "core/registry/reg_key.h"

namespace zv::core {

// Each operation opens the process's registry file if that has not happened yet (see
// registry_module.h) and takes the file's cross-process lock.
class CIniRegKey final : public CRegKey {
public:
    using CRegKey::CRegKey;
    ~CIniRegKey() override { closeEnumerations(); }

    ResultCode openSubKeys() override;
    // kNoMoreItems at the end; kNameTooLong, with as much of the name as fits and no terminator.
    ResultCode enumSubKey(char16_t* name, std::uint32_t& nameLength) override;
    ResultCode openValues() override; // kFail when the key has no section
    ResultCode enumValue(char16_t* name, std::uint32_t& nameLength) override;
    ResultCode closeEnum(Handle handle) override;
    ResultCode createKey(CoreRef<CRegKey>& result, std::uint32_t root,
                         const std::u16string& path) override;
    // Always kRegString. kFail for a value that is not there or does not fit.
    ResultCode queryValue(const char16_t* name, RegValueType& type, void* data,
                          std::uint32_t& size) override;
    // kNotImplemented for anything but text, kInvalidArgument for names and text that would damage
    // other entries, kFail when the file could not be written (the value is kept in memory then).
    // size is not used.
    ResultCode setValue(std::uint32_t root, const std::u16string& path, const char16_t* name,
                        RegValueType type, const void* data, std::uint32_t size) override;
};

} // namespace zv::core

#endif
