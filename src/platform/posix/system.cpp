// What the system says about itself, its user and its environment; security descriptors, which have
// no meaning here and are only filled.
#include "platform/posix/code_pages.h"
#include "platform/posix/last_error.h"
#include "platform/posix/test_hooks.h"
#include "platform/posix/wide_functions.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <pthread.h>
#include <pwd.h>
#include <unistd.h>

using namespace zv::platform::posix;

namespace {

constexpr DWORD kBufferOverflow = 111;
constexpr DWORD kUnknownRevision = 1305;

// ---------------------------------------------------------------------------------------------
// Version

constinit std::atomic<DWORD> shownPlatform{VER_PLATFORM_NT};

template <typename Info>
BOOL giveVersion(Info* info) {
    if (info == nullptr || info->dwOSVersionInfoSize != sizeof(Info))
        return failWith(ERROR_INSUFFICIENT_BUFFER, FALSE);
    const bool isNt = shownPlatform == VER_PLATFORM_NT;
    *info = Info{};
    info->dwOSVersionInfoSize = sizeof(Info);
    info->dwMajorVersion = isNt ? 5 : 4;
    info->dwMinorVersion = isNt ? 1 : 10;
    info->dwBuildNumber = isNt ? 2600 : 1998;
    info->dwPlatformId = shownPlatform;
    return TRUE;
}

// ---------------------------------------------------------------------------------------------
// Threads

constinit thread_local DWORD threadId = 0; // 0: not asked yet
constinit pthread_once_t forkHandlerOnce = PTHREAD_ONCE_INIT;
constinit bool forkHandlerSet = false; // written under the once flag

// The thread that a child process begins with has a number of its own.
void forgetThreadId() {
    threadId = 0;
}
void setForkHandler() {
    forkHandlerSet = pthread_atfork(nullptr, nullptr, forgetThreadId) == 0;
}

// ---------------------------------------------------------------------------------------------
// Names

std::string userName() {
    std::vector<char> room(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (getpwuid_r(geteuid(), &entry, room.data(), room.size(), &found) == ERANGE)
        room.resize(room.size() * 2);
    if (found != nullptr && *found->pw_name != 0)
        return found->pw_name;
    const char* login = getenv("LOGNAME");
    return login != nullptr && *login != 0 ? login : std::to_string(geteuid());
}

// The host's own name without its domain, as short as the callers' buffers expect it.
std::string computerName() {
    constexpr std::size_t longest = 15;
    char name[HOST_NAME_MAX + 1] = {};
    if (gethostname(name, sizeof name - 1) != 0 || *name == 0)
        return "localhost";
    const std::string_view whole(name);
    return std::string(whole.substr(0, std::min(whole.find('.'), longest)));
}

enum class CountOnSuccess { WithTerminator, WithoutTerminator };

template <typename Char>
BOOL giveName(const std::basic_string<Char>& name, Char* buffer, DWORD* size,
              CountOnSuccess onSuccess, DWORD tooSmall) {
    if (size == nullptr)
        return failWith(ERROR_INVALID_PARAMETER, FALSE);
    const DWORD room = *size;
    const auto length = static_cast<DWORD>(name.size());
    *size = length + 1;
    if (buffer == nullptr || room <= length)
        return failWith(tooSmall, FALSE);
    std::copy_n(name.c_str(), name.size() + 1, buffer);
    if (onSuccess == CountOnSuccess::WithoutTerminator)
        *size = length;
    return TRUE;
}

template <typename Char>
BOOL giveUserName(const std::basic_string<Char>& name, Char* buffer, DWORD* size) {
    return giveName(name, buffer, size, CountOnSuccess::WithTerminator, ERROR_INSUFFICIENT_BUFFER);
}

template <typename Char>
BOOL giveComputerName(const std::basic_string<Char>& name, Char* buffer, DWORD* size) {
    return giveName(name, buffer, size, CountOnSuccess::WithoutTerminator, kBufferOverflow);
}

// ---------------------------------------------------------------------------------------------
// Environment

std::optional<std::string> variable(std::string_view name) {
    const char* value = name.empty() ? nullptr : getenv(std::string(name).c_str());
    return value != nullptr ? std::optional<std::string>(value) : std::nullopt;
}

std::optional<std::u16string> variable(std::u16string_view name) {
    std::string narrowed;
    if (!narrowExactly(name, &narrowed))
        return std::nullopt;
    const auto value = variable(narrowed);
    return value ? std::optional<std::u16string>(widen(*value)) : std::nullopt;
}

// The text with every %NAME% that the environment knows replaced. An unknown one stays, with both
// of its marks.
template <typename Char>
std::basic_string<Char> expanded(std::basic_string_view<Char> text) {
    constexpr auto mark = static_cast<Char>('%');
    constexpr auto npos = std::basic_string_view<Char>::npos;
    std::basic_string<Char> result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t open = std::min(text.find(mark, at), text.size());
        result.append(text.substr(at, open - at));
        at = open;
        const std::size_t close = at < text.size() ? text.find(mark, at + 1) : npos;
        if (close == npos) {
            result.append(text.substr(at));
            break;
        }
        if (const auto value = variable(text.substr(at + 1, close - at - 1)))
            result.append(*value);
        else
            result.append(text.substr(at, close + 1 - at));
        at = close + 1;
    }
    return result;
}

template <typename Char>
DWORD giveExpanded(const Char* source, Char* target, DWORD size) {
    return guarded<DWORD>(0, [&]() -> DWORD {
        if (source == nullptr)
            return failWith<DWORD>(ERROR_INVALID_PARAMETER, 0);
        const auto text = expanded(std::basic_string_view<Char>(source));
        if (target != nullptr && text.size() < size)
            std::copy_n(text.c_str(), text.size() + 1, target);
        return static_cast<DWORD>(text.size() + 1);
    });
}

} // namespace

namespace zv::platform::posix {

void setPlatformId(DWORD platformId) noexcept {
    shownPlatform = platformId;
}

} // namespace zv::platform::posix

BOOL GetVersionExA(OSVERSIONINFOA* info) {
    return giveVersion(info);
}
BOOL GetVersionExW(OSVERSIONINFOW* info) {
    return giveVersion(info);
}

void GetSystemInfo(SYSTEM_INFO* info) {
    constexpr WORD amd64 = 9;
    constexpr std::uintptr_t lowest = 0x10000;
    const long pageSize = sysconf(_SC_PAGESIZE);
    const long processors = std::max(sysconf(_SC_NPROCESSORS_ONLN), 1L);
    *info = SYSTEM_INFO{};
    info->wProcessorArchitecture = amd64;
    info->dwPageSize = static_cast<DWORD>(pageSize);
    info->lpMinimumApplicationAddress = reinterpret_cast<void*>(lowest);
    info->lpMaximumApplicationAddress = reinterpret_cast<void*>(UINTPTR_MAX >> 17);
    info->dwActiveProcessorMask =
        processors >= 64 ? UINTPTR_MAX : (std::uintptr_t{1} << processors) - 1;
    info->dwNumberOfProcessors = static_cast<DWORD>(processors);
    info->dwAllocationGranularity = 0x10000;
}

DWORD GetCurrentThreadId() {
    if (threadId != 0)
        return threadId;
    pthread_once(&forkHandlerOnce, setForkHandler);
    const auto id = static_cast<DWORD>(gettid());
    if (forkHandlerSet)
        threadId = id;
    return id;
}

HANDLE GetCurrentThread() {
    return reinterpret_cast<HANDLE>(std::intptr_t{-2});
}

DWORD GetCurrentProcessId() {
    return static_cast<DWORD>(getpid());
}

BOOL GetUserNameA(char* name, DWORD* size) {
    return guarded(FALSE, [&] { return giveUserName(userName(), name, size); });
}

BOOL GetUserNameW(char16_t* name, DWORD* size) {
    return guarded(FALSE, [&] { return giveUserName(widen(userName()), name, size); });
}

BOOL GetComputerNameA(char* name, DWORD* size) {
    return guarded(FALSE, [&] { return giveComputerName(computerName(), name, size); });
}

BOOL GetComputerNameW(char16_t* name, DWORD* size) {
    return guarded(FALSE, [&] { return giveComputerName(widen(computerName()), name, size); });
}

DWORD ExpandEnvironmentStringsA(const char* source, char* target, DWORD size) {
    return giveExpanded(source, target, size);
}

DWORD ExpandEnvironmentStringsW(const char16_t* source, char16_t* target, DWORD size) {
    return giveExpanded(source, target, size);
}

BOOL InitializeSecurityDescriptor(SECURITY_DESCRIPTOR* descriptor, DWORD revision) {
    if (descriptor == nullptr)
        return failWith(ERROR_INVALID_PARAMETER, FALSE);
    if (revision != 1)
        return failWith(kUnknownRevision, FALSE);
    *descriptor = SECURITY_DESCRIPTOR{};
    return TRUE;
}

BOOL SetSecurityDescriptorDacl(SECURITY_DESCRIPTOR* descriptor, BOOL, void*, BOOL) {
    return descriptor != nullptr ? TRUE : failWith(ERROR_INVALID_PARAMETER, FALSE);
}
