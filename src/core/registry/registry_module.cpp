#include "core/registry/registry_module.h"

#include "core/mutex.h"
#include "core/wide_calls.h"
#include "platform/win32.h"

#include <atomic>
#include <utility>

namespace zv::core::registry {

namespace {

constexpr const char16_t* kFileName = u"zvregistry.ini";
constexpr DWORD kUserNameRoom = 127;

constinit Handle s_pInitLock = kNoHandle;
constinit std::atomic<IniFile*> registryFile{nullptr};

} // namespace

ResultCode Initialize() noexcept {
    return coreFrame([] {
        UniqueMutex fresh = makeMutex("registry::s_pInitLock", 0);
        MutexTraits::close(std::exchange(s_pInitLock, fresh.release()));
        return kOk;
    });
}

ResultCode Terminate() noexcept {
    delete registryFile.exchange(nullptr);
    if (const Handle lock = std::exchange(s_pInitLock, kNoHandle); lock != kNoHandle)
        MutexDestroy(lock);
    return kOk;
}

IniFile& EnsureLoaded() {
    IniFile* file = registryFile.load(std::memory_order_acquire);
    if (file == nullptr) {
        if (s_pInitLock == kNoHandle)
            throw EZvCoreException(kFail);
        const MutexHold hold(s_pInitLock);
        file = registryFile.load(std::memory_order_relaxed);
        if (file == nullptr) {
            file = new IniFile(kFileName);
            registryFile.store(file, std::memory_order_release);
        }
    }
    return *file;
}

IniFile* LoadedFile() noexcept {
    return registryFile.load(std::memory_order_acquire);
}

std::u16string SectionName(std::uint32_t root, std::u16string_view path) {
    std::u16string name;
    switch (root) {
    case HKEY_CLASSES_ROOT_VALUE:
        name = u"ZV_HKEY_CLASSES";
        break;
    case HKEY_LOCAL_MACHINE_VALUE:
        name = u"ZV_HKEY_CONFIG";
        break;
    case HKEY_CURRENT_USER_VALUE: {
        char16_t user[kUserNameRoom];
        DWORD size = kUserNameRoom;
        if (g_wideCalls.GetUserNameW(user, &size) == 0)
            throwLastError();
        name = u"ZV_HKEY_USER\\";
        name += user;
        break;
    }
    default:
        throw EZvCoreException(kInvalidArgument);
    }
    if (!path.empty()) {
        name += u'\\';
        name += path;
    }
    return name;
}

} // namespace zv::core::registry
