#include "core/registry/reg_key.h"

#include <cstring>
#include <utility>

namespace zv::core {

namespace {

// The longest name that an enumeration takes, terminator included.
constexpr std::uint32_t kNameRoom = 256;

// Memory that runs out must not pass for the end of an enumeration.
void throwIfOutOfMemory(ResultCode code) {
    if (code == kOutOfMemory)
        throw EZvCoreException(code);
}

// Fetches one name with `fetch`, a call of the enumeration.
template <typename Fetch>
bool fetchName(Fetch fetch, std::u16string& result) {
    char16_t name[kNameRoom];
    std::uint32_t length = kNameRoom;
    const ResultCode code = fetch(name, length);
    throwIfOutOfMemory(code);
    if (code < 0)
        return false;
    result.assign(name, length);
    return true;
}

} // namespace

CRegKey::CRegKey(std::uint32_t root, std::u16string path) : root(root), path(std::move(path)) {}

void CRegKey::closeEnumeration(Handle& handle) {
    if (handle != kNoHandle)
        closeEnum(std::exchange(handle, kNoHandle));
}

void CRegKey::closeEnumerations() {
    closeEnumeration(subKeyEnum);
    closeEnumeration(valueEnum);
}

bool CRegKey::hasNextSubKey() {
    if (subKeyEnum == kNoHandle)
        throwIfFailed(openSubKeys());
    if (!subKeyPending) {
        subKeyPending = fetchName(
            [this](char16_t* name, std::uint32_t& length) { return enumSubKey(name, length); },
            subKeyName);
    }
    return subKeyPending;
}

CoreRef<CRegKey> CRegKey::nextSubKey() {
    if (!hasNextSubKey())
        throw EZvCoreException(kNoMoreItems);
    subKeyPending = false;
    if (!path.empty())
        subKeyName.insert(0, path + u'\\');
    CoreRef<CRegKey> child;
    throwIfFailed(createKey(child, root, subKeyName));
    return child;
}

bool CRegKey::hasNextValue() {
    if (valueEnum == kNoHandle) {
        const ResultCode code = openValues();
        throwIfOutOfMemory(code);
        if (code < 0)
            return false;
    }
    if (!valuePending) {
        valuePending = fetchName(
            [this](char16_t* name, std::uint32_t& length) { return enumValue(name, length); },
            valueName);
    }
    return valuePending;
}

std::u16string CRegKey::nextValue() {
    if (!hasNextValue())
        throw EZvCoreException(kNoMoreItems);
    valuePending = false;
    return valueName;
}

ResultCode CRegKey::copyValue(const std::u16string& name, CRegKey& target) {
    // Two zero bytes more than a value may have (three, for one with an odd size): text that a
    // store keeps without its terminator has one here.
    alignas(char16_t) unsigned char data[kRegCopyLimit + 4];
    std::uint32_t size = kRegCopyLimit;
    RegValueType type = kRegString;
    const ResultCode code = queryValue(name.c_str(), type, data, size);
    if (code < 0)
        return code;
    std::memset(data + size, 0, sizeof data - size);
    return target.setValue(root, path, name.c_str(), type, data, size);
}

} // namespace zv::core
