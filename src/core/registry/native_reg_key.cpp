#include "core/registry/native_reg_key.h"

#include "core/platform_flags.h"
#include "core/wide_calls.h"
#include "platform/win32.h"

#include <atomic>
#include <cstring>
#include <memory>

namespace zv::core {

namespace {

struct KeyTraits {
    using Type = HKEY;
    static constexpr HKEY none() { return nullptr; }
    static void close(HKEY key) { RegCloseKey(key); }
};
using UniqueKey = UniqueHandle<KeyTraits>;

// An enumeration: what its handle points to.
struct Enumeration {
    UniqueKey key;
    DWORD index = 0; // of the next item
};

ResultCode resultOf(LONG error) {
    return ResultFromWin32Error(static_cast<std::uint32_t>(error));
}

DWORD writtenType(RegValueType type) {
    switch (type) {
    case kRegString:
        return REG_SZ;
    case kRegNumber:
        return REG_DWORD;
    case kRegBinary:
        return REG_BINARY;
    case kRegExpandString:
        return REG_EXPAND_SZ;
    case kRegMultiString:
        return REG_MULTI_SZ;
    default:
        throw EZvCoreException(kInvalidArgument);
    }
}

RegValueType readType(DWORD type) {
    switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ:
        return kRegString;
    case REG_DWORD:
        return kRegNumber;
    case REG_BINARY:
    case REG_NONE:
        return kRegBinary;
    case REG_MULTI_SZ:
        return kRegMultiString;
    default:
        return type;
    }
}

// The security of a key that is created here: a null list of rights, which opens it to everyone.
class OpenToEveryone {
public:
    OpenToEveryone() {
        if (g_bCoreNT == 0)
            return; // systems without security
        InitializeSecurityDescriptor(&descriptor, 1);
        SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE);
        attributes.nLength = sizeof attributes;
        attributes.lpSecurityDescriptor = &descriptor;
        attributes.bInheritHandle = TRUE;
        used = &attributes;
    }
    OpenToEveryone(const OpenToEveryone&) = delete;
    OpenToEveryone& operator=(const OpenToEveryone&) = delete;

    const SECURITY_ATTRIBUTES* get() const { return used; }

private:
    SECURITY_DESCRIPTOR descriptor{};
    SECURITY_ATTRIBUTES attributes{};
    const SECURITY_ATTRIBUTES* used = nullptr;
};

// Expands the text of `used` bytes at data, which has room for `capacity`, in place.
ResultCode expandInPlace(void* data, std::uint32_t used, std::uint32_t capacity,
                         std::uint32_t& size) {
    std::u16string source(used / sizeof(char16_t), u'\0'); // ends with a zero in any case
    std::memcpy(source.data(), data, source.size() * sizeof(char16_t));
    const DWORD room = capacity / sizeof(char16_t);
    const auto expanded = std::make_unique<char16_t[]>(room + 1);
    const DWORD need = g_wideCalls.ExpandEnvironmentStringsW(source.c_str(), expanded.get(), room);
    if (need == 0 || need > room)
        return kFail;
    size = need * static_cast<std::uint32_t>(sizeof(char16_t));
    std::memcpy(data, expanded.get(), size);
    return kOk;
}

LONG openForReading(std::uint32_t root, const char16_t* path, UniqueKey& key) {
    return g_wideCalls.RegOpenKeyExW(RootKeyFromValue(root), path, 0, KEY_READ, &key.receive());
}

Enumeration* enumerationOf(Handle handle) {
    if (handle == kNoHandle || handle == 0)
        throw EZvCoreException(kInvalidHandle);
    return reinterpret_cast<Enumeration*>(handle);
}

constinit std::atomic<std::uint32_t> changes{0};

// Reads a value of an open key.
ResultCode queryValueOf(HKEY key, const char16_t* name, RegValueType& type, void* data,
                        std::uint32_t& size) {
    const std::uint32_t capacity = size;
    DWORD nativeType = REG_NONE;
    const LONG error = g_wideCalls.RegQueryValueExW(key, name, nullptr, &nativeType,
                                                    static_cast<BYTE*>(data), &size);
    if (error != 0)
        return resultOf(error);
    type = readType(nativeType);
    if (nativeType == REG_EXPAND_SZ && data != nullptr)
        return expandInPlace(data, size, capacity, size);
    return kOk;
}

// The end of an enumeration is no error number of its own.
ResultCode enumerated(LONG error) {
    return error == static_cast<LONG>(ERROR_NO_MORE_ITEMS) ? kFail : resultOf(error);
}

} // namespace

ResultCode NativeRegSetValue(std::uint32_t root, const char16_t* path, const char16_t* name,
                             RegValueType type, const void* data, std::uint32_t size) noexcept {
    return coreFrame([&] {
        const DWORD nativeType = writtenType(type);
        const OpenToEveryone security;
        UniqueKey key;
        DWORD disposition = 0;
        LONG error =
            g_wideCalls.RegCreateKeyExW(RootKeyFromValue(root), path, 0, nullptr, 0, KEY_ALL_ACCESS,
                                        security.get(), &key.receive(), &disposition);
        if (error == 0) {
            error = g_wideCalls.RegSetValueExW(key.get(), name, 0, nativeType,
                                               static_cast<const BYTE*>(data), size);
        }
        changes.fetch_add(1, std::memory_order_release);
        return resultOf(error);
    });
}

std::uint32_t NativeRegChanges() noexcept {
    return changes.load(std::memory_order_acquire);
}

ResultCode NativeRegQueryValue(std::uint32_t root, const char16_t* path, const char16_t* name,
                               RegValueType& type, void* data, std::uint32_t& size) noexcept {
    return coreFrame([&] {
        UniqueKey key;
        if (const LONG error = openForReading(root, path, key); error != 0)
            return resultOf(error);
        return queryValueOf(key.get(), name, type, data, size);
    });
}

ResultCode NativeRegOpenValues(std::uint32_t root, const char16_t* path, Handle& handle) noexcept {
    handle = kNoHandle;
    return coreFrame([&] {
        auto enumeration = std::make_unique<Enumeration>();
        if (const LONG error = openForReading(root, path, enumeration->key); error != 0)
            return resultOf(error);
        handle = reinterpret_cast<Handle>(enumeration.release());
        return kOk;
    });
}

ResultCode NativeRegOpenSubKeys(std::uint32_t root, const char16_t* path, Handle& handle) noexcept {
    const ResultCode code = NativeRegOpenValues(root, path, handle);
    // One code for whatever keeps a key from being opened; want of memory stays what it is.
    return code < 0 && code != kOutOfMemory ? kFail : code;
}

ResultCode NativeRegEnumSubKey(Handle handle, char16_t* name, std::uint32_t& nameLength) noexcept {
    return coreFrame([&] {
        Enumeration* enumeration = enumerationOf(handle);
        FILETIME lastWrite;
        return enumerated(g_wideCalls.RegEnumKeyExW(enumeration->key.get(), enumeration->index++,
                                                    name, &nameLength, nullptr, nullptr, nullptr,
                                                    &lastWrite));
    });
}

ResultCode NativeRegEnumValue(Handle handle, char16_t* name, std::uint32_t& nameLength,
                              RegValueType* type, void* data, std::uint32_t* size) noexcept {
    return coreFrame([&] {
        Enumeration* enumeration = enumerationOf(handle);
        DWORD nativeType = REG_NONE;
        const LONG error = g_wideCalls.RegEnumValueW(
            enumeration->key.get(), enumeration->index++, name, &nameLength, nullptr,
            type != nullptr ? &nativeType : nullptr, static_cast<BYTE*>(data), size);
        if (error == 0 && type != nullptr)
            *type = nativeType == REG_NONE ? nativeType : readType(nativeType);
        return enumerated(error);
    });
}

ResultCode NativeRegClose(Handle handle) noexcept {
    if (handle != kNoHandle)
        delete reinterpret_cast<Enumeration*>(handle);
    return kOk;
}

ResultCode CNativeRegKey::openSubKeys() {
    closeEnumeration(subKeyEnum);
    return NativeRegOpenSubKeys(root, path.c_str(), subKeyEnum);
}

ResultCode CNativeRegKey::enumSubKey(char16_t* name, std::uint32_t& nameLength) {
    return NativeRegEnumSubKey(subKeyEnum, name, nameLength);
}

ResultCode CNativeRegKey::openValues() {
    closeEnumeration(valueEnum);
    return NativeRegOpenValues(root, path.c_str(), valueEnum);
}

ResultCode CNativeRegKey::enumValue(char16_t* name, std::uint32_t& nameLength) {
    return NativeRegEnumValue(valueEnum, name, nameLength);
}

ResultCode CNativeRegKey::closeEnum(Handle handle) {
    return NativeRegClose(handle);
}

ResultCode CNativeRegKey::createKey(CoreRef<CRegKey>& result, std::uint32_t keyRoot,
                                    const std::u16string& keyPath) {
    return coreFrame([&] {
        result = makeCoreRef<CNativeRegKey>(keyRoot, keyPath);
        return kOk;
    });
}

ResultCode CNativeRegKey::queryValue(const char16_t* name, RegValueType& type, void* data,
                                     std::uint32_t& size) {
    if (valueEnum == kNoHandle)
        return NativeRegQueryValue(root, path.c_str(), name, type, data, size);
    // The enumeration holds the key open already.
    return coreFrame(
        [&] { return queryValueOf(enumerationOf(valueEnum)->key.get(), name, type, data, size); });
}

ResultCode CNativeRegKey::setValue(std::uint32_t keyRoot, const std::u16string& keyPath,
                                   const char16_t* name, RegValueType type, const void* data,
                                   std::uint32_t size) {
    return NativeRegSetValue(keyRoot, keyPath.c_str(), name, type, data, size);
}

} // namespace zv::core
