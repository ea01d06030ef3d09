#include "netware/microsoft_stack.h"

#include "core/platform_flags.h"
#include "lang/exception.h"
#include "lang/string.h"

#include <cstring>

namespace zv::netware {
namespace {

using core::g_bPlatformNT;
using ZVCL::CZvString;
using ZVCL::EZvResultException;
using ZVCL::resultFrame;

// Function numbers of the protocol, and the subfunctions within them.
constexpr std::uint32_t kGetStationNumber = 0x13;
constexpr std::uint32_t kDirectoryServices = 0x16;
constexpr std::uint32_t kServerServices = 0x17;
constexpr std::uint32_t kConsoleServices = 0x83;

constexpr int kLoadModule = 0x01;         // of the console services
constexpr int kExecuteCommandFile = 0x07; // of the console services
constexpr int kGetVolumeName = 0x06;      // of the directory services
constexpr int kGetServerInformation = 0x11;
constexpr int kGetStationInformation = 0x1C;
constexpr int kCheckConsoleRights = 0xC8;

// The completion code is read in high-low order and sent low byte first.
constexpr std::uint32_t kNoCompletion = 0xFFFFFFFF;
constexpr std::uint32_t kCompletionRefused = 0x02020000;

constexpr std::uint32_t swapBytes(std::uint32_t value) {
    return value << 24 | (value & 0xFF00) << 8 | (value >> 8 & 0xFF00) | value >> 24;
}

// What the client library knows a function by: on the NT family a control code of its driver
// (device type 0x14, function 0x400 and up, METHOD_NEITHER, any access), elsewhere a byte. 0 for a
// function that has none.
std::uint32_t controlCodeOf(std::uint32_t function) {
    if (g_bPlatformNT != 0)
        return 0x141003 | function << 2;
    const std::uint32_t code = function + 0xCC;
    return code <= 0xFF ? code : 0;
}

} // namespace

CMsNwApi::CMsNwApi() {
    resolve(library, u"NWAttachToFileServer", NWAttachToFileServer);
    resolve(library, u"NWDetachFromFileServer", NWDetachFromFileServer);
    resolve(library, u"NWCheckConsolePrivileges", NWCheckConsolePrivileges);
    resolve(library, u"NwlibMakeNcp", NwlibMakeNcp);
}

ResultCode ZV_INTERFACE_CALL CMsNWClient::Connect(const char16_t* serverName,
                                                  INWServerConnection** connection) {
    return connectTo<CMsNWServerConnection>(serverName, connection);
}

CMsNWServerConnection::CMsNWServerConnection(const CZvString& serverName) {
    const CMsNwApi::Status status =
        api.NWAttachToFileServer(serverName.toNarrow(), 0, &attachHandle);
    if (status != 0 || (g_bPlatformNT != 0 && attachHandle == 0))
        throw EZvResultException(core::kFail, CZvString::literal(u"Failed to attach to server."));
    if (g_bPlatformNT != 0)
        ncpHandle = *reinterpret_cast<const std::uint32_t*>(attachHandle);
    else
        ncpHandle = attachHandle;
}

CMsNWServerConnection::~CMsNWServerConnection() {
    if (g_bPlatformNT != 0 && attachHandle != 0)
        api.NWDetachFromFileServer(attachHandle);
}

// Sizes are those of the fields; elsewhere than on the NT family both directions carry two bytes
// more. kFail when the call fails, kFunctionOutOfRange when nothing could be sent.
template <typename... Values>
ResultCode CMsNWServerConnection::request(std::uint32_t function, std::size_t requestSize,
                                          std::size_t replySize, const char* format,
                                          Values... values) const {
    const std::uint32_t controlCode = controlCodeOf(function);
    if (controlCode == 0)
        return kFunctionOutOfRange;
    const std::size_t extra = g_bPlatformNT != 0 ? 0 : 2;
    const CMsNwApi::Status status =
        api.NwlibMakeNcp(ncpHandle, controlCode, static_cast<std::uint32_t>(requestSize + extra),
                         static_cast<std::uint32_t>(replySize + extra), format, values...);
    return status == 0 ? core::kOk : core::kFail;
}

ResultCode ZV_INTERFACE_CALL CMsNWServerConnection::LoadNLM(const char16_t* commandLine) {
    return resultFrame([&] {
        const CZvString text(commandLine);
        const char* narrow = text.toNarrow();
        std::uint32_t completion = kNoCompletion;
        const ResultCode sent = request(kConsoleServices, std::strlen(narrow) + 22, 20, "bd_c|d_",
                                        kLoadModule, std::uint32_t{0}, 16, narrow, &completion, 16);
        if (sent < 0)
            return sent;
        if (completion == kCompletionRefused)
            return kModuleRefused;
        return completion == 0 ? core::kOk : core::kFail;
    });
}

ResultCode ZV_INTERFACE_CALL CMsNWServerConnection::ExecuteNCF(const char16_t* fileName) {
    return resultFrame([&] {
        const CZvString text(fileName);
        const char* narrow = text.toNarrow();
        std::uint32_t completion = kNoCompletion;
        const ResultCode sent = request(kConsoleServices, std::strlen(narrow) + 22, 20, "b_c|d_",
                                        kExecuteCommandFile, 20, narrow, &completion, 16);
        if (sent < 0)
            return sent;
        return completion == 0 ? core::kOk : core::kFail;
    });
}

ResultCode ZV_INTERFACE_CALL CMsNWServerConnection::ReservedOperation(std::uint32_t,
                                                                      std::uint32_t) {
    return core::kNotImplemented;
}

ResultCode ZV_INTERFACE_CALL CMsNWServerConnection::GetVolumeName(std::int32_t volumeNumber,
                                                                  ZVCL::IZvCharBuffer* name) {
    if (name == nullptr)
        return core::kPointer;
    return resultFrame([&] {
        char volumeName[36] = {};
        const ResultCode sent = request(kDirectoryServices, 2, 34, "bb|p", kGetVolumeName,
                                        volumeNumber & 0xFF, volumeName);
        if (sent >= 0)
            copyName(volumeName, sizeof volumeName, *name);
        return sent;
    });
}

ResultCode ZV_INTERFACE_CALL CMsNWServerConnection::GetConnectionNumber(std::uint32_t* number) {
    if (number == nullptr)
        return core::kPointer;
    *number = 0;
    return resultFrame([&] {
        std::uint16_t dropped = 0;
        std::uint8_t low = 0;
        const ResultCode sent = request(kGetStationNumber, 0, 3, "|wb", &dropped, &low);
        *number = low;
        return sent;
    });
}

ResultCode ZV_INTERFACE_CALL CMsNWServerConnection::CheckConsolePrivileges() {
    return resultFrame([&] {
        return request(kServerServices, 1, 0, "b|", kCheckConsoleRights) < 0 ? kNoConsoleRights
                                                                             : core::kOk;
    });
}

ResultCode ZV_INTERFACE_CALL CMsNWServerConnection::GetConnectionInformation(
    std::uint32_t connectionNumber, ZVCL::IZvCharBuffer* objectName, std::uint16_t* objectType,
    std::uint32_t* objectId, SYSTEMTIME* loginTime) {
    if (objectName == nullptr || objectType == nullptr || objectId == nullptr ||
        loginTime == nullptr)
        return core::kPointer;
    return resultFrame([&] {
        char name[48] = {};
        std::uint8_t time[kLoginTimeSize] = {};
        const ResultCode sent =
            request(kServerServices, 5, 62, "bd|dwrr", kGetStationInformation,
                    swapBytes(connectionNumber), objectId, objectType, name,
                    static_cast<int>(sizeof name), time, static_cast<int>(sizeof time));
        if (sent < 0)
            return sent;
        copyName(name, sizeof name, *objectName);
        *loginTime = toSystemTime(time);
        return sent;
    });
}

ResultCode ZV_INTERFACE_CALL CMsNWServerConnection::GetFileServerVersion(std::uint32_t* major,
                                                                         std::uint32_t* minor,
                                                                         std::uint32_t* revision) {
    if (major == nullptr || minor == nullptr || revision == nullptr)
        return core::kPointer;
    return resultFrame([&] {
        std::uint8_t information[kServerInformationSize] = {};
        const ResultCode sent =
            request(kServerServices, 1, sizeof information, "b|r", kGetServerInformation,
                    information, static_cast<int>(sizeof information));
        if (sent < 0)
            return sent;
        const ServerVersion version = versionIn(information);
        *major = version.major;
        *minor = version.minor;
        *revision = version.revision;
        return sent;
    });
}

} // namespace zv::netware
