// Microsoft's client: the library "nwapi32", which attaches to servers and sends them requests that
// are built by hand. Every service is such a request, a function of the NetWare Core Protocol
// (NCP).
//
// An object is used by one thread at a time.
#ifndef ZVSUPPORT_NETWARE_MICROSOFT_STACK_H
#define ZVSUPPORT_NETWARE_MICROSOFT_STACK_H

#include "core/com/shared_library.h"
#include "netware/stack_parts.h"

#include <cstdint>

namespace zv::netware {

class CMsNwApi : public ZVCL::CZvObject {
public:
    // Throws EZvResultException when the library or an entry point is missing.
    CMsNwApi();
    CMsNwApi(const CMsNwApi&) = delete;
    CMsNwApi& operator=(const CMsNwApi&) = delete;

    // They answer 0 on success.
    using Status = std::int32_t;

    Status(ZV_STDAPI_CALL* NWAttachToFileServer)(const char* serverName, std::uint32_t scope,
                                                 ConnectionHandle* connection);
    Status(ZV_STDAPI_CALL* NWDetachFromFileServer)(ConnectionHandle connection);
    // Never called: a library without it is no client, and the check is sent as a request.
    Status(ZV_STDAPI_CALL* NWCheckConsolePrivileges)(ConnectionHandle connection);
    // Sends a request and waits for the reply. Sizes are in bytes. The format has a letter for each
    // field, the request's before the bar and the reply's behind it:
    //   b  a byte            w  16 bits, d  32 bits, both in high-low byte order
    //   c  a zero-terminated text          p  a text behind its length
    //   r  bytes, their count behind them  _  as many zeros, or skipped bytes, as the value says
    // The fields of the reply are pointers to where they go.
    Status (*NwlibMakeNcp)(ConnectionHandle connection, std::uint32_t controlCode,
                           std::uint32_t requestSize, std::uint32_t replySize, const char* format,
                           ...);

private:
    ZVCL::CZvSharedLibrary library{u"nwapi32"};
};

class CMsNWClient : public CountedObject<INWClient> {
public:
    ResultCode ZV_INTERFACE_CALL Connect(const char16_t* serverName,
                                         INWServerConnection** connection) override;

private:
    CMsNwApi api;
};

// Attached from its construction on; detaches at its end on the NT family.
class CMsNWServerConnection : public CountedObject<INWServerConnection> {
public:
    // Throws EZvResultException with kFail "Failed to attach to server.", and what CMsNwApi throws.
    explicit CMsNWServerConnection(const ZVCL::CZvString& serverName);
    ~CMsNWServerConnection() override;

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
    template <typename... Values>
    ResultCode request(std::uint32_t function, std::size_t requestSize, std::size_t replySize,
                       const char* format, Values... values) const;

    CMsNwApi api;
    ConnectionHandle attachHandle = 0; // on the NT family, where the next one lies
    ConnectionHandle ncpHandle = 0;
};

} // namespace zv::netware

#endif
