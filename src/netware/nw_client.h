// The two interfaces behind which the client stacks of a workstation hide: a stack, and a server
// that it has attached to.
//
// An object is used by one thread at a time. Every operation answers a result code and throws
// nothing; an out-parameter that is null answers kPointer, a null text is the empty one. Text is
// handed to a stack in the ANSI code page.
#ifndef ZVSUPPORT_NETWARE_NW_CLIENT_H
#define ZVSUPPORT_NETWARE_NW_CLIENT_H

#include "lang/unknown.h"
#include "platform/win32.h"
#include "util/buffer.h"

#include <cstdint>

namespace zv::netware {

using core::ResultCode;

// The server's own codes stand in the low half: these two are what it says of loading a module.
inline constexpr ResultCode kModuleRefused = core::resultFromBits(0x804E0202);
inline constexpr ResultCode kNoConsoleRights = core::resultFromBits(0x804E897C);
// A request of a function number that this platform's client library has no control code for.
inline constexpr ResultCode kFunctionOutOfRange = core::resultFromBits(0x804E9801);

// What a client library knows an attachment by: a pointer or a number, as wide as a pointer.
using ConnectionHandle = std::uintptr_t;

class INWServerConnection : public ZVCL::IZvUnknown {
public:
    static constexpr ZVCL::ZvIid kIid = {
        0x3F7ECC44, 0xB433, 0x4823, {0xAA, 0x15, 0xCC, 0x1F, 0xC7, 0x90, 0x27, 0x2D}};

    // Loads a server module with its command line. kModuleRefused and kNoConsoleRights are the
    // server's refusals; kFunctionOutOfRange: the stack cannot send it; kFail otherwise.
    virtual ResultCode ZV_INTERFACE_CALL LoadNLM(const char16_t* commandLine) = 0;
    // Runs a server command file. kFail when the server refuses; kFunctionOutOfRange as above.
    virtual ResultCode ZV_INTERFACE_CALL ExecuteNCF(const char16_t* fileName) = 0;
    // Does nothing and answers kNotImplemented.
    virtual ResultCode ZV_INTERFACE_CALL ReservedOperation(std::uint32_t first,
                                                           std::uint32_t second) = 0;
    // Copies the name of the volume of that number into `name`.
    virtual ResultCode ZV_INTERFACE_CALL GetVolumeName(std::int32_t volumeNumber,
                                                       ZVCL::IZvCharBuffer* name) = 0;
    // The workstation's own connection number on the server.
    virtual ResultCode ZV_INTERFACE_CALL GetConnectionNumber(std::uint32_t* number) = 0;
    // 0 when the attached user has console operator rights, kNoConsoleRights when not.
    virtual ResultCode ZV_INTERFACE_CALL CheckConsolePrivileges() = 0;
    // Who is logged in on a connection, and since when (milliseconds are always 0).
    virtual ResultCode ZV_INTERFACE_CALL GetConnectionInformation(std::uint32_t connectionNumber,
                                                                  ZVCL::IZvCharBuffer* objectName,
                                                                  std::uint16_t* objectType,
                                                                  std::uint32_t* objectId,
                                                                  SYSTEMTIME* loginTime) = 0;
    virtual ResultCode ZV_INTERFACE_CALL GetFileServerVersion(std::uint32_t* major,
                                                              std::uint32_t* minor,
                                                              std::uint32_t* revision) = 0;

protected:
    ~INWServerConnection() = default;
};

class INWClient : public ZVCL::IZvUnknown {
public:
    static constexpr ZVCL::ZvIid kIid = {
        0x87C097AE, 0x3782, 0x4376, {0xAF, 0xA2, 0x47, 0x55, 0xEE, 0x5F, 0x76, 0x49}};

    // Attaches to the server of that name and stores the connection, with a reference for the
    // caller, in *connection (null on failure). The connection needs nothing of its client. kFail
    // when the server cannot be attached to.
    virtual ResultCode ZV_INTERFACE_CALL Connect(const char16_t* serverName,
                                                 INWServerConnection** connection) = 0;

protected:
    ~INWClient() = default;
};

} // namespace zv::netware

#endif
