// Novell's client: the libraries "calwin32" and "clxwin32", which offer each service as a function.
//
// An object is used by one thread at a time.
#ifndef ZVSUPPORT_NETWARE_NOVELL_STACK_H
#define ZVSUPPORT_NETWARE_NOVELL_STACK_H

#include "core/com/shared_library.h"
#include "netware/stack_parts.h"

#include <cstdint>

namespace zv::netware {

// Both libraries, started. Every function answers 0 on success.
class CNovNwApi : public ZVCL::CZvObject {
public:
    // Throws EZvResultException when a library or an entry point is missing, EZvException
    // "NWCallsInit() failed." when the start-up fails.
    CNovNwApi();
    CNovNwApi(const CNovNwApi&) = delete;
    CNovNwApi& operator=(const CNovNwApi&) = delete;
    ~CNovNwApi() override;

    using Status = std::uint32_t;

    Status(ZV_STDAPI_CALL* NWCallsInit)(void*, void*);
    Status(ZV_STDAPI_CALL* NWCallsTerm)(void*);
    Status(ZV_STDAPI_CALL* NWAttachToFileServer)(const char* serverName, std::uint32_t scope,
                                                 ConnectionHandle* connection);
    Status(ZV_STDAPI_CALL* NWSMLoadNLM)(ConnectionHandle connection, const char* commandLine);
    Status(ZV_STDAPI_CALL* NWSMExecuteNCFFile)(ConnectionHandle connection, const char* fileName);
    Status(ZV_STDAPI_CALL* NWCheckConsolePrivileges)(ConnectionHandle connection);
    Status(ZV_STDAPI_CALL* NWGetConnectionInformation)(ConnectionHandle connection,
                                                       std::uint32_t connectionNumber,
                                                       char* objectName, std::uint16_t* objectType,
                                                       std::uint32_t* objectId,
                                                       std::uint8_t* loginTime);
    Status(ZV_STDAPI_CALL* NWGetVolumeName)(ConnectionHandle connection, std::int32_t volumeNumber,
                                            char* name);
    Status(ZV_STDAPI_CALL* NWCCGetConnRef)(ConnectionHandle connection, std::uint32_t* reference);
    Status(ZV_STDAPI_CALL* NWCCGetConnInfo)(ConnectionHandle connection, std::uint32_t type,
                                            std::uint32_t length, void* information);
    Status(ZV_STDAPI_CALL* NWGetFileServerVersionInfo)(ConnectionHandle connection,
                                                       void* information);

private:
    ZVCL::CZvSharedLibrary callsLibrary{u"calwin32"};
    ZVCL::CZvSharedLibrary clientLibrary{u"clxwin32"};
};

class CNovellNWClient : public CountedObject<INWClient> {
public:
    ResultCode ZV_INTERFACE_CALL Connect(const char16_t* serverName,
                                         INWServerConnection** connection) override;

private:
    CNovNwApi api; // keeps the stack started
};

// Attached from its construction on, and left attached at its end: the attachment is the
// workstation's, which may have had it before.
class CNovNWServerConnection : public CountedObject<INWServerConnection> {
public:
    // Throws EZvResultException with kFail "Failed to attach to server." or "Failed to get
    // connection reference.", and what CNovNwApi throws.
    explicit CNovNWServerConnection(const ZVCL::CZvString& serverName);

    ResultCode ZV_INTERFACE_CALL LoadNLM(const char16_t* commandLine) override;
    ResultCode ZV_INTERFACE_CALL ExecuteNCF(const char16_t* fileName) override;
    ResultCode ZV_INTERFACE_CALL ReservedOperation(std::uint32_t first,
                                                   std::uint32_t second) override;
    ResultCode ZV_INTERFACE_CALL GetVolumeName(std::int32_t volumeNumber,
                                               ZVCL::IZvCharBuffer* name) override;
    ResultCode ZV_INTERFACE_CALL GetConnectionNumber(std::uint32_t* number) override;
    ResultCode ZV_INTERFACE_CALL CheckConsolePrivileges() override;
    ResultCode ZV_INTERFACE_CALL GetConnectionInformation(std::uint32_t connectionNumber,
                                                          ZVCL::IZvCharBuffer* objectName,
                                                          std::uint16_t* objectType,
                                                          std::uint32_t* objectId,
                                                          SYSTEMTIME* loginTime) override;
    ResultCode ZV_INTERFACE_CALL GetFileServerVersion(std::uint32_t* major, std::uint32_t* minor,
                                                      std::uint32_t* revision) override;

private:
    CNovNwApi api;
    ConnectionHandle connHandle = 0;
    std::uint32_t connRef = 0;
};

} // namespace zv::netware

#endif
