#include "netware/novell_stack.h"

#include "lang/exception.h"
#include "lang/string.h"

namespace zv::netware {
namespace {

using ZVCL::CZvString;
using ZVCL::EZvException;
using ZVCL::EZvResultException;
using ZVCL::resultFrame;

constexpr CNovNwApi::Status kAlreadyAttached = 0x8800;
constexpr CNovNwApi::Status kRefusedByLoader = 0x0202;
constexpr CNovNwApi::Status kNoRights = 0x897C;
constexpr std::uint32_t kConnectionNumberInformation = 5;

ResultCode failUnlessZero(CNovNwApi::Status status) {
    return status == 0 ? core::kOk : core::kFail;
}

} // namespace

CNovNwApi::CNovNwApi() {
    resolve(callsLibrary, u"NWCallsInit", NWCallsInit);
    resolve(callsLibrary, u"NWCallsTerm", NWCallsTerm);
    resolve(callsLibrary, u"NWAttachToFileServer", NWAttachToFileServer);
    resolve(callsLibrary, u"NWSMLoadNLM", NWSMLoadNLM);
    resolve(callsLibrary, u"NWSMExecuteNCFFile", NWSMExecuteNCFFile);
    resolve(callsLibrary, u"NWCheckConsolePrivileges", NWCheckConsolePrivileges);
    resolve(callsLibrary, u"NWGetConnectionInformation", NWGetConnectionInformation);
    resolve(callsLibrary, u"NWGetVolumeName", NWGetVolumeName);
    resolve(callsLibrary, u"NWGetFileServerVersionInfo", NWGetFileServerVersionInfo);
    resolve(clientLibrary, u"NWCCGetConnRef", NWCCGetConnRef);
    resolve(clientLibrary, u"NWCCGetConnInfo", NWCCGetConnInfo);
    if (NWCallsInit(nullptr, nullptr) != 0)
        throw EZvException(CZvString::literal(u"NWCallsInit() failed."));
}

CNovNwApi::~CNovNwApi() {
    NWCallsTerm(nullptr);
}

ResultCode ZV_INTERFACE_CALL CNovellNWClient::Connect(const char16_t* serverName,
                                                      INWServerConnection** connection) {
    return connectTo<CNovNWServerConnection>(serverName, connection);
}

CNovNWServerConnection::CNovNWServerConnection(const CZvString& serverName) {
    const CNovNwApi::Status attached =
        api.NWAttachToFileServer(serverName.toNarrow(), 0, &connHandle);
    if (attached != 0 && attached != kAlreadyAttached)
        throw EZvResultException(core::kFail, CZvString::literal(u"Failed to attach to server."));
    if (api.NWCCGetConnRef(connHandle, &connRef) != 0)
        throw EZvResultException(core::kFail,
                                 CZvString::literal(u"Failed to get connection reference."));
}

ResultCode ZV_INTERFACE_CALL CNovNWServerConnection::LoadNLM(const char16_t* commandLine) {
    return resultFrame([&] {
        switch (api.NWSMLoadNLM(connHandle, CZvString(commandLine).toNarrow())) {
        case 0:
            return core::kOk;
        case kRefusedByLoader:
            return kModuleRefused;
        case kNoRights:
            return kNoConsoleRights;
        default:
            return core::kFail;
        }
    });
}

ResultCode ZV_INTERFACE_CALL CNovNWServerConnection::ExecuteNCF(const char16_t* fileName) {
    return resultFrame([&] {
        return failUnlessZero(api.NWSMExecuteNCFFile(connHandle, CZvString(fileName).toNarrow()));
    });
}

ResultCode ZV_INTERFACE_CALL CNovNWServerConnection::ReservedOperation(std::uint32_t,
                                                                       std::uint32_t) {
    return core::kNotImplemented;
}

ResultCode ZV_INTERFACE_CALL CNovNWServerConnection::GetVolumeName(std::int32_t volumeNumber,
                                                                   ZVCL::IZvCharBuffer* name) {
    if (name == nullptr)
        return core::kPointer;
    return resultFrame([&] {
        char volumeName[20] = {};
        if (api.NWGetVolumeName(connHandle, volumeNumber, volumeName) != 0)
            return core::kFail;
        copyName(volumeName, sizeof volumeName, *name);
        return core::kOk;
    });
}

ResultCode ZV_INTERFACE_CALL CNovNWServerConnection::GetConnectionNumber(std::uint32_t* number) {
    if (number == nullptr)
        return core::kPointer;
    return resultFrame([&] {
        return failUnlessZero(
            api.NWCCGetConnInfo(connHandle, kConnectionNumberInformation, sizeof *number, number));
    });
}

ResultCode ZV_INTERFACE_CALL CNovNWServerConnection::CheckConsolePrivileges() {
    return resultFrame([&] {
        return api.NWCheckConsolePrivileges(connHandle) == 0 ? core::kOk : kNoConsoleRights;
    });
}

ResultCode ZV_INTERFACE_CALL CNovNWServerConnection::GetConnectionInformation(
    std::uint32_t connectionNumber, ZVCL::IZvCharBuffer* objectName, std::uint16_t* objectType,
    std::uint32_t* objectId, SYSTEMTIME* loginTime) {
    if (objectName == nullptr || objectType == nullptr || objectId == nullptr ||
        loginTime == nullptr)
        return core::kPointer;
    return resultFrame([&] {
        char name[48] = {};
        std::uint8_t time[kLoginTimeSize] = {};
        if (api.NWGetConnectionInformation(connHandle, connectionNumber, name, objectType, objectId,
                                           time) != 0)
            return core::kFail;
        copyName(name, sizeof name, *objectName);
        *loginTime = toSystemTime(time);
        return core::kOk;
    });
}

ResultCode ZV_INTERFACE_CALL CNovNWServerConnection::GetFileServerVersion(std::uint32_t* major,
                                                                          std::uint32_t* minor,
                                                                          std::uint32_t* revision) {
    if (major == nullptr || minor == nullptr || revision == nullptr)
        return core::kPointer;
    return resultFrame([&] {
        std::uint8_t information[kServerInformationSize] = {};
        if (api.NWGetFileServerVersionInfo(connHandle, information) != 0)
            return core::kFail;
        const ServerVersion version = versionIn(information);
        *major = version.major;
        *minor = version.minor;
        *revision = version.revision;
        return core::kOk;
    });
}

} // namespace zv::netware
