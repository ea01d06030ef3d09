#include "core/registry/ini_reg_key.h"

#include "core/registry/ini_iterators.h"
#include "core/registry/registry_module.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

namespace zv::core {

namespace {

IniFileIteratorBase& iteratorOf(Handle handle) {
    if (handle == kNoHandle || handle == 0)
        throw EZvCoreException(kInvalidHandle);
    return *reinterpret_cast<IniFileIteratorBase*>(handle);
}

template <typename Iterator>
Handle handleOf(std::unique_ptr<Iterator> iterator) {
    return reinterpret_cast<Handle>(static_cast<IniFileIteratorBase*>(iterator.release()));
}

ResultCode nextName(Handle handle, char16_t* name, std::uint32_t& nameLength) {
    return coreFrame([&] {
        registry::EnsureLoaded();
        IniFileIteratorBase& iterator = iteratorOf(handle);
        if (!iterator.hasNext())
            return kNoMoreItems;
        std::u16string found;
        iterator.next(found);
        const bool fits = found.size() < nameLength;
        std::copy_n(found.c_str(), fits ? found.size() + 1 : std::size_t{nameLength}, name);
        if (!fits)
            return kNameTooLong;
        nameLength = static_cast<std::uint32_t>(found.size());
        return kOk;
    });
}

} // namespace

ResultCode CIniRegKey::openSubKeys() {
    closeEnumeration(subKeyEnum);
    return coreFrame([&] {
        subKeyEnum = handleOf(std::make_unique<IniFileSetIterator>(
            registry::EnsureLoaded(), registry::SectionName(root, path)));
        return kOk;
    });
}

ResultCode CIniRegKey::enumSubKey(char16_t* name, std::uint32_t& nameLength) {
    return nextName(subKeyEnum, name, nameLength);
}

ResultCode CIniRegKey::openValues() {
    closeEnumeration(valueEnum);
    return coreFrame([&] {
        valueEnum = handleOf(std::make_unique<IniFileKeyIterator>(
            registry::EnsureLoaded(), registry::SectionName(root, path)));
        return kOk;
    });
}

ResultCode CIniRegKey::enumValue(char16_t* name, std::uint32_t& nameLength) {
    return nextName(valueEnum, name, nameLength);
}

ResultCode CIniRegKey::closeEnum(Handle handle) {
    if (handle != kNoHandle)
        delete reinterpret_cast<IniFileIteratorBase*>(handle);
    return kOk;
}

ResultCode CIniRegKey::createKey(CoreRef<CRegKey>& result, std::uint32_t keyRoot,
                                 const std::u16string& keyPath) {
    return coreFrame([&] {
        result = makeCoreRef<CIniRegKey>(keyRoot, keyPath);
        return kOk;
    });
}

ResultCode CIniRegKey::queryValue(const char16_t* name, RegValueType& type, void* data,
                                  std::uint32_t& size) {
    return coreFrame([&] {
        std::u16string value;
        IniFile& file = registry::EnsureLoaded();
        const std::u16string section = registry::SectionName(root, path);
        if (file.getValue(section, name != nullptr ? name : u"", value) != 0)
            return kFail;
        const std::size_t bytes = (value.size() + 1) * sizeof(char16_t);
        if (bytes > size)
            return kFail;
        std::memcpy(data, value.c_str(), bytes);
        size = static_cast<std::uint32_t>(bytes);
        type = kRegString;
        return kOk;
    });
}

ResultCode CIniRegKey::setValue(std::uint32_t keyRoot, const std::u16string& keyPath,
                                const char16_t* name, RegValueType type, const void* data,
                                std::uint32_t) {
    return coreFrame([&] {
        IniFile& file = registry::EnsureLoaded();
        if (type != kRegString)
            return kNotImplemented;
        const std::u16string section = registry::SectionName(keyRoot, keyPath);
        const auto* text = static_cast<const char16_t*>(data);
        switch (file.setValue(section, name != nullptr ? name : u"", text != nullptr ? text : u"",
                              true)) {
        case IniFile::kSet:
            return kOk;
        case IniFile::kWouldDamage:
            return kInvalidArgument;
        default:
            return kFail;
        }
    });
}

} // namespace zv::core
