#include "core/files.h"

#include "core/wide_calls.h"
#include "core/wide_text.h"
#include "platform/win32.h"

namespace zv::core {
namespace {

constexpr std::uint32_t kAccessBits = kFileRead | kFileWrite;
constexpr std::uint32_t kCreationBits = kFileCreate | kFileTruncate | kFileExclusive;
constexpr std::uint32_t kModeWriteBits = 0222;

DWORD dispositionOf(std::uint32_t creation) {
    switch (creation) {
    case 0:
        return OPEN_EXISTING;
    case kFileCreate:
        return OPEN_ALWAYS;
    case kFileTruncate:
        return TRUNCATE_EXISTING;
    case kFileCreate | kFileTruncate:
        return CREATE_ALWAYS;
    case kFileCreate | kFileExclusive:
    case kFileCreate | kFileExclusive | kFileTruncate:
        return CREATE_NEW;
    default: // exclusive without create
        throw EZvCoreException(kInvalidArgument);
    }
}

HANDLE asHandle(Handle handle) {
    return reinterpret_cast<HANDLE>(handle);
}

} // namespace

ResultCode ZvFileOpen(const char16_t* path, std::uint32_t flags, std::uint32_t mode,
                      Handle& handle) noexcept {
    handle = kNoHandle;
    return coreFrame([&] {
        const bool temporary = (flags & kFileTemporary) != 0;
        const bool unnamed = path == nullptr || *path == 0;
        if (path == nullptr && !temporary)
            return kInvalidArgument;
        if (!unnamed && wcslen(path) >= kFilePathCapacity)
            return kInvalidArgument;

        const bool readOnly = (flags & kFileCreate) != 0 && (mode & kModeWriteBits) == 0;
        DWORD access = flags & kAccessBits;
        DWORD attributes = readOnly ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL;
        std::uint32_t creation = flags & kCreationBits;
        // Refused before a name is made, so that a refused call leaves no file behind.
        dispositionOf(creation);

        char16_t temporaryName[kFilePathCapacity];
        const char16_t* name = path;
        if (temporary) {
            if (unnamed) {
                throwIfFailed(ZvTempFileName(temporaryName));
                name = temporaryName;
                creation = 0; // the file is there already
            } else {
                creation |= kFileCreate;
            }
            attributes |= FILE_FLAG_DELETE_ON_CLOSE | FILE_ATTRIBUTE_TEMPORARY;
            access |= DELETE_ACCESS;
        }
        if ((flags & kFileWriteThrough) != 0)
            attributes |= FILE_FLAG_WRITE_THROUGH;

        const DWORD disposition = dispositionOf(creation);
        const HANDLE file =
            g_wideCalls.CreateFileW(name, access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    disposition, attributes, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            throwLastError();
        const bool mayCreate = disposition == OPEN_ALWAYS || disposition == CREATE_ALWAYS;
        const bool created = mayCreate && GetLastError() != ERROR_ALREADY_EXISTS;
        handle = reinterpret_cast<Handle>(file);

        if ((flags & kFileAppend) != 0 && SetFilePointer(file, 0, nullptr, FILE_END) == 0xFFFFFFFF)
            throwLastError();
        return created ? kFileCreated : kOk;
    });
}

ResultCode ZvTempFileName(char16_t* result) noexcept {
    return coreFrame([&] {
        char16_t folder[kFilePathCapacity];
        const DWORD length = g_wideCalls.GetTempPathW(kFilePathCapacity, folder);
        if (length == 0)
            throwLastError();
        if (length >= kFilePathCapacity)
            return kInvalidArgument;
        if (g_wideCalls.GetTempFileNameW(folder, u"tmp", 0, result) == 0)
            throwLastError();
        return kOk;
    });
}

ResultCode ZvFileClose(Handle handle) noexcept {
    return coreFrame([&] {
        if (handle == kNoHandle)
            return kInvalidHandle;
        if (CloseHandle(asHandle(handle)) == 0)
            throwLastError();
        return kOk;
    });
}

ResultCode ZvFileDelete(const char16_t* path) noexcept {
    return coreFrame([&] {
        if (path == nullptr)
            return kInvalidArgument;
        if (g_wideCalls.DeleteFileW(path) == 0)
            throwLastError();
        return kOk;
    });
}

} // namespace zv::core
