#include "core/wide_fallbacks.h"

#include "core/wide_text.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace zv::core {
namespace {

// Narrow text for the duration of a call; null stays null.
class Narrowed {
public:
    explicit Narrowed(const char16_t* wide) : isNull(wide == nullptr) {
        if (!isNull)
            text = narrow(std::u16string_view(wide, wcslen(wide)));
    }
    operator const char*() const { return isNull ? nullptr : text.c_str(); }
    char* buffer() { return isNull ? nullptr : text.data(); }

private:
    bool isNull;
    std::string text;
};

// The callers of these entries expect an answer, not an exception.
template <typename Answer, typename Body>
Answer guarded(Answer failure, Body body) noexcept {
    try {
        return body();
    } catch (...) {
        SetLastError(ERROR_OUTOFMEMORY);
        return failure;
    }
}

template <typename Body>
LONG guardedRegistry(Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return static_cast<LONG>(ERROR_OUTOFMEMORY);
    }
}

// Copies text and its terminator when both fit.
bool copyOut(std::u16string_view text, char16_t* target, std::size_t capacity) {
    if (target == nullptr || text.size() >= capacity)
        return false;
    std::copy(text.begin(), text.end(), target);
    target[text.size()] = 0;
    return true;
}

// ---------------------------------------------------------------------------------------------
// Files

UINT ZV_SYSTEM_CALL getTempFileName(const char16_t* path, const char16_t* prefix, UINT unique,
                                    char16_t* name) {
    return guarded<UINT>(0, [&]() -> UINT {
        char made[MAX_PATH_LENGTH];
        const UINT number = GetTempFileNameA(Narrowed(path), Narrowed(prefix), unique, made);
        if (number != 0 && !copyOut(widen(made), name, MAX_PATH_LENGTH)) {
            SetLastError(ERROR_FILENAME_EXCED_RANGE);
            return 0;
        }
        return number;
    });
}

// What a call that fills a narrow buffer and answers the length or the room needed has to say.
template <typename Call>
bool askNarrow(Call call, std::string& text) {
    text.resize(MAX_PATH_LENGTH);
    for (;;) {
        const DWORD length = call(static_cast<DWORD>(text.size()), text.data());
        if (length == 0)
            return false;
        if (length < text.size()) {
            text.resize(length);
            return true;
        }
        text.resize(length + 1);
    }
}

DWORD answerText(const std::u16string& text, DWORD size, char16_t* buffer) {
    return static_cast<DWORD>(copyOut(text, buffer, size) ? text.size() : text.size() + 1);
}

DWORD ZV_SYSTEM_CALL getTempPath(DWORD size, char16_t* buffer) {
    return guarded<DWORD>(0, [&]() -> DWORD {
        std::string path;
        if (!askNarrow(GetTempPathA, path))
            return 0;
        return answerText(widen(path), size, buffer);
    });
}

HANDLE ZV_SYSTEM_CALL createFile(const char16_t* path, DWORD access, DWORD share,
                                 SECURITY_ATTRIBUTES* attributes, DWORD disposition, DWORD flags,
                                 HANDLE templateFile) {
    return guarded<HANDLE>(INVALID_HANDLE_VALUE, [&] {
        return CreateFileA(Narrowed(path), access, share, attributes, disposition, flags,
                           templateFile);
    });
}

BOOL ZV_SYSTEM_CALL deleteFile(const char16_t* path) {
    return guarded<BOOL>(FALSE, [&] { return DeleteFileA(Narrowed(path)); });
}

BOOL ZV_SYSTEM_CALL createDirectory(const char16_t* path, SECURITY_ATTRIBUTES* attributes) {
    return guarded<BOOL>(FALSE, [&] { return CreateDirectoryA(Narrowed(path), attributes); });
}

BOOL ZV_SYSTEM_CALL removeDirectory(const char16_t* path) {
    return guarded<BOOL>(FALSE, [&] { return RemoveDirectoryA(Narrowed(path)); });
}

template <std::size_t Size>
void widenField(const char (&source)[Size], char16_t (&target)[Size]) {
    const std::u16string text = widen(source);
    const std::size_t length = std::min(text.size(), Size - 1);
    std::copy_n(text.begin(), length, target);
    target[length] = 0;
}

HANDLE ZV_SYSTEM_CALL findFirstFile(const char16_t* pattern, WIN32_FIND_DATAW* data) {
    return guarded<HANDLE>(INVALID_HANDLE_VALUE, [&] {
        WIN32_FIND_DATAA found;
        const HANDLE search = FindFirstFileA(Narrowed(pattern), &found);
        if (search != INVALID_HANDLE_VALUE) {
            data->dwFileAttributes = found.dwFileAttributes;
            data->ftCreationTime = found.ftCreationTime;
            data->ftLastAccessTime = found.ftLastAccessTime;
            data->ftLastWriteTime = found.ftLastWriteTime;
            data->nFileSizeHigh = found.nFileSizeHigh;
            data->nFileSizeLow = found.nFileSizeLow;
            data->dwReserved0 = found.dwReserved0;
            data->dwReserved1 = found.dwReserved1;
            widenField(found.cFileName, data->cFileName);
            widenField(found.cAlternateFileName, data->cAlternateFileName);
        }
        return search;
    });
}

DWORD ZV_SYSTEM_CALL getFullPathName(const char16_t* name, DWORD size, char16_t* buffer,
                                     char16_t** filePart) {
    return guarded<DWORD>(0, [&]() -> DWORD {
        const Narrowed narrowName(name);
        char* part = nullptr;
        std::string path;
        const auto ask = [&](DWORD room, char* target) {
            return GetFullPathNameA(narrowName, room, target, &part);
        };
        if (!askNarrow(ask, path))
            return 0;
        const DWORD answer = answerText(widen(path), size, buffer);
        if (filePart != nullptr && answer < size) {
            *filePart = nullptr;
            if (part != nullptr) {
                const auto offset = static_cast<std::size_t>(part - path.data());
                *filePart = buffer + widen(std::string_view(path).substr(0, offset)).size();
            }
        }
        return answer;
    });
}

// ---------------------------------------------------------------------------------------------
// Modules, processes, system information

BOOL ZV_SYSTEM_CALL createProcess(const char16_t* application, char16_t* commandLine,
                                  SECURITY_ATTRIBUTES* processAttributes,
                                  SECURITY_ATTRIBUTES* threadAttributes, BOOL inheritHandles,
                                  DWORD flags, void* environment, const char16_t* directory,
                                  STARTUPINFOW* startup, PROCESS_INFORMATION* process) {
    return guarded<BOOL>(FALSE, [&] {
        Narrowed command(commandLine);
        Narrowed desktop(startup->lpDesktop);
        Narrowed title(startup->lpTitle);
        STARTUPINFOA narrowStartup{};
        narrowStartup.cb = sizeof narrowStartup;
        narrowStartup.lpDesktop = desktop.buffer();
        narrowStartup.lpTitle = title.buffer();
        narrowStartup.dwX = startup->dwX;
        narrowStartup.dwY = startup->dwY;
        narrowStartup.dwXSize = startup->dwXSize;
        narrowStartup.dwYSize = startup->dwYSize;
        narrowStartup.dwXCountChars = startup->dwXCountChars;
        narrowStartup.dwYCountChars = startup->dwYCountChars;
        narrowStartup.dwFillAttribute = startup->dwFillAttribute;
        narrowStartup.dwFlags = startup->dwFlags;
        narrowStartup.wShowWindow = startup->wShowWindow;
        narrowStartup.cbReserved2 = startup->cbReserved2;
        narrowStartup.lpReserved2 = startup->lpReserved2;
        narrowStartup.hStdInput = startup->hStdInput;
        narrowStartup.hStdOutput = startup->hStdOutput;
        narrowStartup.hStdError = startup->hStdError;
        return CreateProcessA(Narrowed(application), command.buffer(), processAttributes,
                              threadAttributes, inheritHandles, flags, environment,
                              Narrowed(directory), &narrowStartup, process);
    });
}

HMODULE ZV_SYSTEM_CALL loadLibrary(const char16_t* name) {
    return guarded<HMODULE>(nullptr, [&] { return LoadLibraryA(Narrowed(name)); });
}

DWORD ZV_SYSTEM_CALL expandEnvironmentStrings(const char16_t* source, char16_t* target,
                                              DWORD size) {
    return guarded<DWORD>(0, [&]() -> DWORD {
        const Narrowed narrowSource(source);
        std::string text(256, '\0');
        for (;;) {
            const auto room = static_cast<DWORD>(text.size());
            const DWORD need = ExpandEnvironmentStringsA(narrowSource, text.data(), room);
            if (need == 0)
                return 0;
            text.resize(need);
            if (need <= room)
                break;
        }
        text.pop_back(); // the terminator
        const std::u16string wide = widen(text);
        copyOut(wide, target, size);
        return static_cast<DWORD>(wide.size() + 1);
    });
}

// The user's or the computer's name. On success and on failure *size is a count with the
// terminator.
template <std::size_t Room, typename Call>
BOOL askName(Call call, char16_t* name, DWORD* size) {
    return guarded<BOOL>(FALSE, [&]() -> BOOL {
        char text[Room];
        DWORD room = Room;
        if (call(text, &room) == 0)
            return FALSE;
        const std::u16string wide = widen(text);
        const DWORD capacity = *size;
        *size = static_cast<DWORD>(wide.size() + 1);
        if (!copyOut(wide, name, capacity)) {
            SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return FALSE;
        }
        return TRUE;
    });
}

BOOL ZV_SYSTEM_CALL getComputerName(char16_t* name, DWORD* size) {
    return askName<16>(GetComputerNameA, name, size);
}

BOOL ZV_SYSTEM_CALL getUserName(char16_t* name, DWORD* size) {
    return askName<257>(GetUserNameA, name, size);
}

// ---------------------------------------------------------------------------------------------
// Registry

constexpr auto kMoreData = static_cast<LONG>(ERROR_MORE_DATA);

// Registry data need not be aligned, terminated or of an even size.
std::u16string wideData(const BYTE* data, DWORD size) {
    std::u16string text(size / sizeof(char16_t), u'\0');
    if (!text.empty())
        std::memcpy(text.data(), data, text.size() * sizeof(char16_t));
    return text;
}

bool isWidened(DWORD type) {
    return type == REG_SZ || type == REG_MULTI_SZ;
}

// The narrow data of a text value as the wide bytes that a caller expects.
std::vector<BYTE> widenData(DWORD type, const std::string& data) {
    std::u16string wide;
    if (type == REG_SZ)
        wide = widen(std::string_view(data.c_str()));
    else
        wide = widen(data);
    const std::size_t units = wide.size() + (type == REG_SZ ? 1 : 0);
    std::vector<BYTE> bytes(units * sizeof(char16_t));
    std::memcpy(bytes.data(), wide.c_str(), bytes.size());
    return bytes;
}

// Gives bytes to a caller under the registry's rules for data and size.
LONG giveData(const BYTE* bytes, std::size_t count, BYTE* data, DWORD* size) {
    if (size == nullptr)
        return data == nullptr ? 0 : static_cast<LONG>(ERROR_INVALID_PARAMETER);
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(count);
    if (data == nullptr)
        return 0;
    if (count > capacity)
        return kMoreData;
    if (count != 0)
        std::memcpy(data, bytes, count);
    return 0;
}

// Reads a whole value with `call(type, data, size)` and gives it to the caller, text widened.
template <typename Call>
LONG readData(Call call, DWORD* type, BYTE* data, DWORD* size) {
    DWORD valueType = 0;
    std::string bytes(256, '\0');
    for (;;) {
        auto count = static_cast<DWORD>(bytes.size());
        const LONG error = call(&valueType, reinterpret_cast<BYTE*>(bytes.data()), &count);
        if (error == kMoreData && count > bytes.size()) {
            bytes.resize(count);
            continue;
        }
        if (error != 0)
            return error;
        bytes.resize(count);
        break;
    }
    if (type != nullptr)
        *type = valueType;
    if (isWidened(valueType)) {
        const std::vector<BYTE> wide = widenData(valueType, bytes);
        return giveData(wide.data(), wide.size(), data, size);
    }
    return giveData(reinterpret_cast<const BYTE*>(bytes.data()), bytes.size(), data, size);
}

LONG ZV_SYSTEM_CALL regCreateKeyEx(HKEY key, const char16_t* subKey, DWORD reserved,
                                   char16_t* keyClass, DWORD options, REGSAM access,
                                   const SECURITY_ATTRIBUTES* attributes, HKEY* result,
                                   DWORD* disposition) {
    return guardedRegistry([&] {
        Narrowed className(keyClass);
        return RegCreateKeyExA(key, Narrowed(subKey), reserved, className.buffer(), options, access,
                               attributes, result, disposition);
    });
}

LONG ZV_SYSTEM_CALL regSetValueEx(HKEY key, const char16_t* name, DWORD reserved, DWORD type,
                                  const BYTE* data, DWORD size) {
    return guardedRegistry([&] {
        const Narrowed valueName(name);
        if (!isWidened(type) || data == nullptr)
            return RegSetValueExA(key, valueName, reserved, type, data, size);
        std::u16string wide = wideData(data, size);
        std::string bytes;
        if (type == REG_SZ) {
            bytes = narrow(wide.substr(0, wide.find(u'\0')));
            bytes.push_back('\0');
        } else {
            // Written whole: the zeros behind the text end the list whatever the caller left out.
            bytes = narrow(wide);
            bytes.resize(std::size_t{size} * 4);
        }
        return RegSetValueExA(key, valueName, reserved, type,
                              reinterpret_cast<const BYTE*>(bytes.data()),
                              static_cast<DWORD>(bytes.size()));
    });
}

LONG ZV_SYSTEM_CALL regOpenKeyEx(HKEY key, const char16_t* subKey, DWORD options, REGSAM access,
                                 HKEY* result) {
    return guardedRegistry(
        [&] { return RegOpenKeyExA(key, Narrowed(subKey), options, access, result); });
}

LONG ZV_SYSTEM_CALL regQueryValueEx(HKEY key, const char16_t* name, DWORD* reserved, DWORD* type,
                                    BYTE* data, DWORD* size) {
    return guardedRegistry([&] {
        const Narrowed valueName(name);
        return readData(
            [&](DWORD* valueType, BYTE* bytes, DWORD* count) {
                return RegQueryValueExA(key, valueName, reserved, valueType, bytes, count);
            },
            type, data, size);
    });
}

LONG ZV_SYSTEM_CALL regDeleteKey(HKEY key, const char16_t* subKey) {
    return guardedRegistry([&] { return RegDeleteKeyA(key, Narrowed(subKey)); });
}

// Gives an enumerated name under the registry's rules for its length.
LONG giveName(const char* name, char16_t* target, DWORD* length) {
    const std::u16string wide = widen(name);
    if (!copyOut(wide, target, *length))
        return kMoreData;
    *length = static_cast<DWORD>(wide.size());
    return 0;
}

// Room for the longest names that the registry takes, in the widest code page.
constexpr std::size_t kKeyNameRoom = std::size_t{256} * 4;
constexpr std::size_t kValueNameRoom = std::size_t{16384} * 4;

LONG ZV_SYSTEM_CALL regEnumKeyEx(HKEY key, DWORD index, char16_t* name, DWORD* nameLength,
                                 DWORD* reserved, char16_t*, DWORD* classLength,
                                 FILETIME* lastWrite) {
    return guardedRegistry([&]() -> LONG {
        char found[kKeyNameRoom];
        DWORD room = kKeyNameRoom;
        const LONG error =
            RegEnumKeyExA(key, index, found, &room, reserved, nullptr, classLength, lastWrite);
        return error != 0 ? error : giveName(found, name, nameLength);
    });
}

LONG ZV_SYSTEM_CALL regEnumValue(HKEY key, DWORD index, char16_t* name, DWORD* nameLength,
                                 DWORD* reserved, DWORD* type, BYTE* data, DWORD* size) {
    return guardedRegistry([&]() -> LONG {
        std::string found(kValueNameRoom, '\0');
        const auto enumerate = [&](DWORD* valueType, BYTE* bytes, DWORD* count) {
            auto room = static_cast<DWORD>(kValueNameRoom);
            return RegEnumValueA(key, index, found.data(), &room, reserved, valueType, bytes,
                                 count);
        };
        LONG error = 0;
        if (data == nullptr && size == nullptr)
            error = enumerate(type, nullptr, nullptr);
        else
            error = readData(enumerate, type, data, size);
        return error != 0 ? error : giveName(found.c_str(), name, nameLength);
    });
}

LONG ZV_SYSTEM_CALL regDeleteValue(HKEY key, const char16_t* name) {
    return guardedRegistry([&] { return RegDeleteValueA(key, Narrowed(name)); });
}

} // namespace

WideCalls narrowFallbacks() {
    return WideCalls{
        .GetTempFileNameW = getTempFileName,
        .GetTempPathW = getTempPath,
        .CreateFileW = createFile,
        .DeleteFileW = deleteFile,
        .CreateDirectoryW = createDirectory,
        .RemoveDirectoryW = removeDirectory,
        .FindFirstFileW = findFirstFile,
        .CreateProcessW = createProcess,
        .GetFullPathNameW = getFullPathName,
        .LoadLibraryW = loadLibrary,
        .ExpandEnvironmentStringsW = expandEnvironmentStrings,
        .GetComputerNameW = getComputerName,
        .GetUserNameW = getUserName,
        .RegCreateKeyExW = regCreateKeyEx,
        .RegSetValueExW = regSetValueEx,
        .RegOpenKeyExW = regOpenKeyEx,
        .RegQueryValueExW = regQueryValueEx,
        .RegDeleteKeyW = regDeleteKey,
        .RegEnumKeyExW = regEnumKeyEx,
        .RegEnumValueW = regEnumValue,
        .RegDeleteValueW = regDeleteValue,
    };
}

} // namespace zv::core
