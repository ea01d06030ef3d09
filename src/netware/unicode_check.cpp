#include "netware/unicode_check.h"

#include "core/com/file_path.h"
#include "core/files.h"
#include "core/handle.h"
#include "io/file_input_stream.h"
#include "lang/exception.h"
#include "netware/microsoft_stack.h"
#include "netware/novell_stack.h"
#include "netware/unicode_support_result.h"
#include "platform/win32.h"
#include "util/rw_buffer.h"

#include <cstdint>
#include <limits>
#include <new>
#include <optional>

namespace zv::netware {
namespace {

using namespace ZVCL;

constexpr const char16_t kCommandLine[] = u"nwzvinst -CheckUnicodeSupport=zvinst.dat";
constexpr const char16_t kResultFile[] = u"/zvinst.dat";
constexpr int kReadAttempts = 7;
constexpr DWORD kMillisecondsBetweenAttempts = 100;

// Nothing while the file is not there, or not whole, or another version's: the module may still be
// at work.
std::optional<ResultCode> readResult(const CZvString& path) {
    try {
        const ZvRef<CZvInputStream> file = makeRef<CZvFileInputStream>(path);
        CUnicodeSupportResult found;
        found.Deserialize(file);
        return found.GetResult();
    } catch (...) {
        return std::nullopt;
    }
}

ResultCode waitForResult(const CZvString& path) {
    for (int attempt = 0; attempt < kReadAttempts; ++attempt) {
        if (const std::optional<ResultCode> found = readResult(path))
            return *found;
        Sleep(kMillisecondsBetweenAttempts);
    }
    return core::kFail;
}

// The check's answer stands, whatever becomes of the file.
void deleteResult(const CZvString& path) {
    try {
        core::ZvFileDelete(CZvFilePath(path).toString().getBuffer());
    } catch (...) {
    }
}

// The code of the server's answer for this drive; the path of its result file.
ResultCode askServerModule(INWServerConnection& server, const CZvString& path) {
    ResultCode code = server.LoadNLM(kCommandLine);
    if ((static_cast<std::uint32_t>(code) & 0xFFFFFF00) ==
        static_cast<std::uint32_t>(kModuleLoadNotSent))
        code = kModuleLoadNotSent;
    if (code >= 0)
        code = waitForResult(path);
    deleteResult(path);
    return code;
}

// A client of the first stack that can be started.
ZvRef<INWClient> createClient() {
    try {
        return makeRef<CNovellNWClient>();
    } catch (...) { // not installed, or not in order: the other one's failure is the answer
    }
    return makeRef<CMsNWClient>();
}

// An enumeration of the network drives that are connected.
class DriveEnumeration {
public:
    DriveEnumeration() {
        const DWORD error =
            WNetOpenEnumA(RESOURCE_CONNECTED, RESOURCETYPE_DISK, 0, nullptr, &handle);
        if (error != 0) {
            handle = INVALID_HANDLE_VALUE;
            throw EZvResultException(core::ResultFromWin32Error(error),
                                     CZvString::literal(u"Unable to open net enum"));
        }
    }
    ~DriveEnumeration() {
        if (handle != INVALID_HANDLE_VALUE)
            WNetCloseEnum(handle);
    }
    DriveEnumeration(const DriveEnumeration&) = delete;
    DriveEnumeration& operator=(const DriveEnumeration&) = delete;

    // The next entries: as many as have room in the area, whose first `size` bytes are free. 0, or
    // the system's error; with ERROR_MORE_DATA, size becomes what a single entry needs.
    DWORD next(DWORD& count, void* area, DWORD& size) const {
        count = 0xFFFFFFFF;
        return WNetEnumResourceA(handle, &count, area, &size);
    }

private:
    HANDLE handle = INVALID_HANDLE_VALUE;
};

// Room for what the system asks for. A provider that asks for no more than it was given gets more
// all the same, so that the enumeration comes to an end.
std::int32_t grownArea(std::int32_t capacity, DWORD wanted) {
    const std::int64_t grown =
        wanted > static_cast<DWORD>(capacity) ? std::int64_t{wanted} : std::int64_t{capacity} * 2;
    if (grown > std::numeric_limits<std::int32_t>::max())
        throw std::bad_alloc();
    return static_cast<std::int32_t>(grown);
}

// SERVER of \\SERVER\VOLUME.
CZvString serverIn(const char* remoteName) {
    CZvString name = CZvString::fromNarrow(remoteName);
    name.strip(u'\\', CZvString::kStripLeading);
    if (const std::int32_t end = name.indexOf(u'\\'); end >= 0)
        name.setLength(end);
    return name;
}

bool isNamed(const NETRESOURCEA& drive, const CZvString& localName) {
    return drive.lpLocalName != nullptr &&
           CZvString::fromNarrow(drive.lpLocalName).equals(localName, 1);
}

} // namespace

CZvString FindServerForDrive(char letter) {
    constexpr std::int32_t kFirstAreaSize = 1600;

    CZvString localName = CZvString::withCapacity(2);
    const auto wideLetter = static_cast<char16_t>(static_cast<signed char>(letter));
    localName.replace(-1, 0, &wideLetter, 1);
    localName.toUpperCase();
    localName.replace(-1, 0, u":");

    const DriveEnumeration drives;
    CZvRWByteBuffer area(kFirstAreaSize);
    for (;;) {
        DWORD count = 0;
        auto size = static_cast<DWORD>(area.getCapacity());
        const DWORD error = drives.next(count, area.lockWrite(0), size);
        area.unlockWrite(area.getLength());
        if (error == ERROR_MORE_DATA) {
            area.reserve(grownArea(area.getCapacity(), size));
            continue;
        }
        if (error == ERROR_NO_MORE_ITEMS || (error == 0 && count == 0))
            throw EZvException(CZvString::literal(u"Drive not found"));
        if (error != 0)
            throw EZvResultException(core::ResultFromWin32Error(error),
                                     CZvString::literal(u"Unable to enum net resource"));
        const auto* entries = reinterpret_cast<const NETRESOURCEA*>(area.getBuffer());
        for (const NETRESOURCEA* entry = entries; entry != entries + count; ++entry) {
            if (isNamed(*entry, localName) && entry->lpRemoteName != nullptr)
                return serverIn(entry->lpRemoteName);
        }
    }
}

ZvRef<INWServerConnection> ConnectToDriveServer(const char* drive) {
    const CZvString server = FindServerForDrive(*drive);
    const ZvRef<INWClient> client = createClient();
    INWServerConnection* connection = nullptr;
    throwIfFailed(client->Connect(server.getBuffer(), &connection));
    return ZvRef<INWServerConnection>::adopt(connection);
}

ResultCode checkUnicodeSupport(const char* drive) {
    const ZvRef<INWServerConnection> server = ConnectToDriveServer(drive);
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t revision = 0;
    // A server that does not tell its version is asked like one of version 4.
    if (server->GetFileServerVersion(&major, &minor, &revision) >= 0 && major != 4)
        return major < 4 ? kNoUnicodeSupport : core::kOk;
    if (const ResultCode rights = server->CheckConsolePrivileges(); rights < 0)
        return rights;
    CZvString path = CZvString::fromNarrow(drive);
    path.replace(-1, 0, kResultFile);
    return askServerModule(*server, path);
}

} // namespace zv::netware
