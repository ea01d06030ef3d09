#include "platform/posix/registry.h"

#include "platform/posix/code_pages.h"
#include "platform/posix/hive.h"
#include "platform/posix/wide_functions.h"
#include "platform/win32.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zv::platform::posix {

namespace {

// What a handle has to allow.
constexpr REGSAM kQueryValue = 0x1;
constexpr REGSAM kSetValue = 0x2;
constexpr REGSAM kEnumerateKeys = 0x8;
constexpr REGSAM kAnything = 0;

REGSAM grantedAccess(REGSAM asked) {
    constexpr REGSAM kMaximumAllowed = 0x02000000;
    constexpr REGSAM kGenericAll = 0x10000000;
    constexpr REGSAM kKeyWrite = 0x20006;
    if ((asked & (kMaximumAllowed | kGenericAll)) != 0)
        return KEY_ALL_ACCESS;
    return asked | ((asked & GENERIC_READ) != 0 ? KEY_READ : 0) |
           ((asked & GENERIC_WRITE) != 0 ? kKeyWrite : 0);
}

// The process's hive and the keys that its host holds open.
class Registry final : public KeyHolder {
public:
    struct OpenKey {
        Key* key = nullptr; // null: deleted
        REGSAM access = 0;
        std::uint32_t generation = 0; // 0: a free slot
    };

    Registry();

    // 6 when the handle is none, 5 when it was not opened for that. held is good until a key is
    // opened.
    DWORD find(HKEY handle, REGSAM access, OpenKey*& held);
    // find() and what others have changed; 1018 for a deleted key.
    DWORD read(HKEY handle, REGSAM access, Key*& key);
    // *result receives a handle of its own.
    void open(Key* key, REGSAM access, HKEY* result);
    DWORD close(HKEY handle);

    void keyRemoved(const Key* key) noexcept override;
    void treeReplaced(const KeyTree& fresh) noexcept override;

    Hive hive{*this};

private:
    OpenKey roots[kRootCount];
    std::vector<OpenKey> slots;
    std::vector<std::uint32_t> freeSlots; // as roomy as slots: closing a key cannot fail
};

constinit std::mutex registryMutex;
constinit Registry* registry = nullptr; // guarded by registryMutex, ended by closeRegistry
// Never used twice, so that a handle that was closed stays invalid. 30 bits, guarded like the rest.
constinit std::uint32_t lastGeneration = 0;

// A handle: the generation in which it was given out, its slot's number and 1, two zero bits.
HKEY handleOf(std::uint32_t generation, std::size_t slot) {
    return reinterpret_cast<HKEY>(std::uintptr_t{generation} << 32 | (slot + 1) << 2);
}

Registry::Registry() {
    for (std::size_t i = 0; i < kRootCount; ++i)
        roots[i] = {hive.keys().root(i), KEY_ALL_ACCESS, 1};
}

DWORD Registry::find(HKEY handle, REGSAM access, OpenKey*& held) {
    held = nullptr;
    for (std::size_t i = 0; i < kRootCount; ++i) {
        if (handle == RootKeyFromValue(kRootValues[i]))
            held = &roots[i];
    }
    if (held == nullptr) {
        const auto number = reinterpret_cast<std::uintptr_t>(handle);
        const std::size_t slot = ((number & 0xFFFFFFFF) >> 2) - 1;
        if (slot >= slots.size() || slots[slot].generation == 0 ||
            handle != handleOf(slots[slot].generation, slot))
            return ERROR_INVALID_HANDLE;
        held = &slots[slot];
    }
    return (held->access & access) == access ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

DWORD Registry::read(HKEY handle, REGSAM access, Key*& key) {
    OpenKey* held = nullptr;
    DWORD code = find(handle, access, held);
    if (code == ERROR_SUCCESS)
        code = hive.refresh();
    if (code != ERROR_SUCCESS)
        return code;
    key = held->key;
    return key != nullptr ? ERROR_SUCCESS : ERROR_KEY_DELETED;
}

void Registry::open(Key* key, REGSAM access, HKEY* result) {
    if (freeSlots.empty()) {
        if (freeSlots.capacity() <= slots.size())
            freeSlots.reserve(2 * slots.size() + 8);
        slots.emplace_back();
        freeSlots.push_back(static_cast<std::uint32_t>(slots.size() - 1));
    }
    const std::uint32_t slot = freeSlots.back();
    freeSlots.pop_back();
    lastGeneration = (lastGeneration + 1) & 0x3FFFFFFF;
    if (lastGeneration == 0)
        lastGeneration = 1;
    slots[slot] = {key, grantedAccess(access), lastGeneration};
    *result = handleOf(lastGeneration, slot);
}

DWORD Registry::close(HKEY handle) {
    OpenKey* held = nullptr;
    const DWORD code = find(handle, kAnything, held);
    if (code == ERROR_SUCCESS && (held < roots || held >= roots + kRootCount)) {
        *held = {};
        freeSlots.push_back(static_cast<std::uint32_t>(held - slots.data()));
    }
    return code;
}

void Registry::keyRemoved(const Key* removed) noexcept {
    for (OpenKey& held : slots) {
        for (const Key* key = held.key; key != nullptr; key = key->parent) {
            if (key == removed) {
                held.key = nullptr;
                break;
            }
        }
    }
}

void Registry::treeReplaced(const KeyTree& fresh) noexcept {
    for (OpenKey& held : roots)
        held.key = fresh.counterpart(held.key);
    for (OpenKey& held : slots) {
        if (held.key != nullptr)
            held.key = fresh.counterpart(held.key);
    }
}

// The frame of every call: one thread at a time, and memory that runs out is an answer.
template <typename Body>
LONG call(Body body) noexcept {
    try {
        const std::lock_guard hold(registryMutex);
        if (registry == nullptr)
            registry = new Registry;
        return static_cast<LONG>(body(*registry));
    } catch (...) {
        return static_cast<LONG>(ERROR_OUTOFMEMORY);
    }
}

// ---------------------------------------------------------------------------------------------
// The calls, for text that is there

// A path may end with a separator, and components may have several between them; none begins it.
DWORD pathError(std::u16string_view path) {
    return path.starts_with(u'\\') ? ERROR_BAD_PATHNAME : ERROR_SUCCESS;
}

std::u16string_view viewOf(const char16_t* text) {
    return text != nullptr ? std::u16string_view(text) : std::u16string_view();
}

// A narrow name as a wide one; a null name stays the empty one.
std::u16string wideName(const char* text) {
    return text != nullptr ? widen(text) : std::u16string();
}

bool isText(DWORD type) {
    return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

// Gives data to a caller that may want only their size.
DWORD give(const void* from, std::size_t length, BYTE* data, DWORD* size) {
    if (size == nullptr)
        return data == nullptr ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
    const DWORD room = std::exchange(*size, static_cast<DWORD>(length));
    if (data == nullptr)
        return ERROR_SUCCESS;
    if (room < length)
        return ERROR_MORE_DATA;
    if (length != 0)
        std::memcpy(data, from, length);
    return ERROR_SUCCESS;
}

// Either kind of text in the ways that the calls differ in.
struct Wide {
    using Char = char16_t;
    static std::u16string_view name(std::u16string_view name) { return name; }
    static DWORD data(const Value& value, BYTE* data, DWORD* size) {
        return give(value.data(), value.size, data, size);
    }
};

struct Narrow {
    using Char = char;
    static std::string name(std::u16string_view name) { return narrow(name); }
    static DWORD data(const Value& value, BYTE* data, DWORD* size) {
        if (!isText(value.type))
            return Wide::data(value, data, size);
        const std::string text =
            narrow({reinterpret_cast<const char16_t*>(value.data()), std::size_t{value.size} / 2});
        return give(text.data(), text.size(), data, size);
    }
};

LONG createKey(HKEY handle, std::u16string_view path, REGSAM access, HKEY* result,
               DWORD* disposition) {
    if (result == nullptr)
        return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    return call([&](Registry& registry) -> DWORD {
        Key* key = nullptr;
        if (const DWORD code = registry.read(handle, kAnything, key); code != ERROR_SUCCESS)
            return code;
        if (const DWORD code = pathError(path); code != ERROR_SUCCESS)
            return code;
        bool created = false;
        for (std::u16string_view rest = path; key != nullptr;) {
            const std::u16string_view component = takeComponent(rest);
            if (component.empty())
                break;
            key = key->children.find(component);
        }
        if (key == nullptr) {
            Hive::Change change(registry.hive);
            if (change.error() != ERROR_SUCCESS)
                return change.error();
            Registry::OpenKey* held = nullptr;
            registry.find(handle, kAnything, held);
            if (held->key == nullptr)
                return ERROR_KEY_DELETED;
            const DWORD code = registry.hive.createKey(held->key, path, key, created);
            if (code != ERROR_SUCCESS)
                return code;
        }
        registry.open(key, access, result);
        if (disposition != nullptr)
            *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
        return ERROR_SUCCESS;
    });
}

LONG openKey(HKEY handle, std::u16string_view path, REGSAM access, HKEY* result) {
    if (result == nullptr)
        return ERROR_INVALID_PARAMETER;
    *result = nullptr;
    return call([&](Registry& registry) -> DWORD {
        Key* key = nullptr;
        if (const DWORD code = registry.read(handle, kAnything, key); code != ERROR_SUCCESS)
            return code;
        if (const DWORD code = pathError(path); code != ERROR_SUCCESS)
            return code;
        for (std::u16string_view component = takeComponent(path); !component.empty();
             component = takeComponent(path)) {
            key = key->children.find(component);
            if (key == nullptr)
                return ERROR_FILE_NOT_FOUND;
        }
        registry.open(key, access, result);
        return ERROR_SUCCESS;
    });
}

// Runs body on the handle's key inside a change.
template <typename Body>
LONG change(HKEY handle, REGSAM access, Body body) {
    return call([&](Registry& registry) -> DWORD {
        Registry::OpenKey* held = nullptr;
        if (const DWORD code = registry.find(handle, access, held); code != ERROR_SUCCESS)
            return code;
        Hive::Change change(registry.hive);
        if (change.error() != ERROR_SUCCESS)
            return change.error();
        return held->key != nullptr ? body(registry.hive, held->key) : ERROR_KEY_DELETED;
    });
}

LONG setValue(HKEY handle, std::u16string_view name, DWORD type, const void* data, DWORD size) {
    if (data == nullptr && size != 0)
        return ERROR_INVALID_PARAMETER;
    return change(handle, kSetValue,
                  [&](Hive& hive, Key* key) { return hive.setValue(key, name, type, data, size); });
}

LONG deleteValue(HKEY handle, std::u16string_view name) {
    return change(handle, kSetValue,
                  [&](Hive& hive, Key* key) { return hive.deleteValue(key, name); });
}

// Whether a key may be deleted does not depend on what its handle was opened for.
LONG deleteKey(HKEY handle, std::u16string_view path) {
    return change(handle, kAnything, [&](Hive& hive, Key* key) -> DWORD {
        if (const DWORD code = pathError(path); code != ERROR_SUCCESS)
            return code;
        std::u16string_view rest = path;
        for (std::u16string_view component = takeComponent(rest); !component.empty();
             component = takeComponent(rest)) {
            key = key->children.find(component);
            if (key == nullptr)
                return ERROR_FILE_NOT_FOUND;
        }
        return hive.deleteKey(key);
    });
}

template <typename Text>
LONG queryValue(HKEY handle, std::u16string_view name, DWORD* type, BYTE* data, DWORD* size) {
    if (data != nullptr && size == nullptr)
        return ERROR_INVALID_PARAMETER;
    return call([&](Registry& registry) -> DWORD {
        Key* key = nullptr;
        if (const DWORD code = registry.read(handle, kQueryValue, key); code != ERROR_SUCCESS)
            return code;
        const Value* value = key->values.find(name);
        if (value == nullptr)
            return ERROR_FILE_NOT_FOUND;
        if (type != nullptr)
            *type = value->type;
        return Text::data(*value, data, size);
    });
}

// Gives a name to an enumeration's caller.
template <typename Text>
DWORD giveName(std::u16string_view wide, typename Text::Char* name, DWORD* nameLength) {
    const auto text = Text::name(wide);
    if (text.size() >= *nameLength)
        return ERROR_MORE_DATA;
    text.copy(name, text.size());
    name[text.size()] = 0;
    *nameLength = static_cast<DWORD>(text.size());
    return ERROR_SUCCESS;
}

template <typename Text>
LONG enumKey(HKEY handle, DWORD index, typename Text::Char* name, DWORD* nameLength,
             typename Text::Char* keyClass, DWORD* classLength, FILETIME* lastWrite) {
    if (name == nullptr || nameLength == nullptr)
        return ERROR_INVALID_PARAMETER;
    return call([&](Registry& registry) -> DWORD {
        Key* key = nullptr;
        DWORD code = registry.read(handle, kEnumerateKeys, key);
        if (code != ERROR_SUCCESS)
            return code;
        const Key* child = key->children.at(index);
        if (child == nullptr)
            return ERROR_NO_MORE_ITEMS;
        code = giveName<Text>(child->name(), name, nameLength);
        if (code != ERROR_SUCCESS)
            return code;
        // Keys have no class here, and the hive keeps no times.
        if (keyClass != nullptr && classLength != nullptr && *classLength != 0)
            *keyClass = 0;
        if (classLength != nullptr)
            *classLength = 0;
        if (lastWrite != nullptr)
            *lastWrite = {};
        return ERROR_SUCCESS;
    });
}

template <typename Text>
LONG enumValue(HKEY handle, DWORD index, typename Text::Char* name, DWORD* nameLength, DWORD* type,
               BYTE* data, DWORD* size) {
    if (name == nullptr || nameLength == nullptr || (data != nullptr && size == nullptr))
        return ERROR_INVALID_PARAMETER;
    return call([&](Registry& registry) -> DWORD {
        Key* key = nullptr;
        DWORD code = registry.read(handle, kQueryValue, key);
        if (code != ERROR_SUCCESS)
            return code;
        const Value* value = key->values.at(index);
        if (value == nullptr)
            return ERROR_NO_MORE_ITEMS;
        code = giveName<Text>(value->name(), name, nameLength);
        if (code != ERROR_SUCCESS)
            return code;
        if (type != nullptr)
            *type = value->type;
        return Text::data(*value, data, size);
    });
}

// Runs body of a narrow call, whose text has to be widened before.
template <typename Body>
LONG widened(Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return static_cast<LONG>(ERROR_OUTOFMEMORY);
    }
}

} // namespace

void closeRegistry() noexcept {
    const std::lock_guard hold(registryMutex);
    delete std::exchange(registry, nullptr);
}

} // namespace zv::platform::posix

using namespace zv::platform::posix;

extern "C" {

LONG RegCloseKey(HKEY key) {
    return call([&](Registry& registry) { return registry.close(key); });
}

LONG RegCreateKeyExW(HKEY key, const char16_t* subKey, DWORD, char16_t*, DWORD, REGSAM access,
                     const SECURITY_ATTRIBUTES*, HKEY* result, DWORD* disposition) {
    if (subKey == nullptr)
        return ERROR_BADKEY;
    return createKey(key, subKey, access, result, disposition);
}

LONG RegCreateKeyExA(HKEY key, const char* subKey, DWORD, char*, DWORD, REGSAM access,
                     const SECURITY_ATTRIBUTES*, HKEY* result, DWORD* disposition) {
    if (subKey == nullptr)
        return ERROR_BADKEY;
    return widened([&] { return createKey(key, widen(subKey), access, result, disposition); });
}

LONG RegOpenKeyExW(HKEY key, const char16_t* subKey, DWORD, REGSAM access, HKEY* result) {
    return openKey(key, viewOf(subKey), access, result);
}

LONG RegOpenKeyExA(HKEY key, const char* subKey, DWORD, REGSAM access, HKEY* result) {
    return widened([&] { return openKey(key, wideName(subKey), access, result); });
}

LONG RegSetValueExW(HKEY key, const char16_t* name, DWORD, DWORD type, const BYTE* data,
                    DWORD size) {
    return setValue(key, viewOf(name), type, data, size);
}

LONG RegSetValueExA(HKEY key, const char* name, DWORD, DWORD type, const BYTE* data, DWORD size) {
    return widened([&]() -> LONG {
        const std::u16string wide = wideName(name);
        if (!isText(type) || data == nullptr)
            return setValue(key, wide, type, data, size);
        const std::u16string text = widen({reinterpret_cast<const char*>(data), size});
        if (text.size() > UINT32_MAX / 2)
            return ERROR_INVALID_PARAMETER;
        return setValue(key, wide, type, text.data(), static_cast<DWORD>(2 * text.size()));
    });
}

LONG RegQueryValueExW(HKEY key, const char16_t* name, DWORD*, DWORD* type, BYTE* data,
                      DWORD* size) {
    return queryValue<Wide>(key, viewOf(name), type, data, size);
}

LONG RegQueryValueExA(HKEY key, const char* name, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
    return widened([&] { return queryValue<Narrow>(key, wideName(name), type, data, size); });
}

LONG RegDeleteKeyW(HKEY key, const char16_t* subKey) {
    if (subKey == nullptr)
        return ERROR_INVALID_PARAMETER;
    return deleteKey(key, subKey);
}

LONG RegDeleteKeyA(HKEY key, const char* subKey) {
    if (subKey == nullptr)
        return ERROR_INVALID_PARAMETER;
    return widened([&] { return deleteKey(key, widen(subKey)); });
}

LONG RegDeleteValueW(HKEY key, const char16_t* name) {
    return deleteValue(key, viewOf(name));
}

LONG RegDeleteValueA(HKEY key, const char* name) {
    return widened([&] { return deleteValue(key, wideName(name)); });
}

LONG RegEnumKeyExW(HKEY key, DWORD index, char16_t* name, DWORD* nameLength, DWORD*,
                   char16_t* keyClass, DWORD* classLength, FILETIME* lastWrite) {
    return enumKey<Wide>(key, index, name, nameLength, keyClass, classLength, lastWrite);
}

LONG RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameLength, DWORD*, char* keyClass,
                   DWORD* classLength, FILETIME* lastWrite) {
    return enumKey<Narrow>(key, index, name, nameLength, keyClass, classLength, lastWrite);
}

LONG RegEnumValueW(HKEY key, DWORD index, char16_t* name, DWORD* nameLength, DWORD*, DWORD* type,
                   BYTE* data, DWORD* size) {
    return enumValue<Wide>(key, index, name, nameLength, type, data, size);
}

LONG RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameLength, DWORD*, DWORD* type,
                   BYTE* data, DWORD* size) {
    return enumValue<Narrow>(key, index, name, nameLength, type, data, size);
}

} // extern "C"
