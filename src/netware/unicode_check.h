// Whether the file server behind a mapped drive supports Unicode.
//
// Nothing survives a call, and any thread may make one. Two checks of one server at a time would
// race for its one result file, whoever makes them.
#ifndef ZVSUPPORT_NETWARE_UNICODE_CHECK_H
#define ZVSUPPORT_NETWARE_UNICODE_CHECK_H

#include "lang/ref.h"
#include "lang/string.h"
#include "netware/nw_client.h"

namespace zv::netware {

inline constexpr ResultCode kNoUnicodeSupport = core::resultFromBits(0x804E0001);
inline constexpr ResultCode kModuleLoadNotSent = core::resultFromBits(0x804E9800);

// The first byte of `drive` names the drive; the whole text is the beginning of the path of the
// server's result file. 0: the server supports Unicode. kNoUnicodeSupport, kModuleRefused,
// kNoConsoleRights, kModuleLoadNotSent, or the code that the server-side module has left in its
// file. Throws what ConnectToDriveServer throws. Waits for that file, 0.7 s at most.
ResultCode checkUnicodeSupport(const char* drive);

// A connection to the server that the drive is mapped to, through Novell's client where it can be
// started, otherwise through Microsoft's. Throws what FindServerForDrive throws,
// EZvResultException with Microsoft's failure when there is no client, and with kFail when the
// server cannot be attached to.
ZVCL::ZvRef<INWServerConnection> ConnectToDriveServer(const char* drive);

// The name of the server that the drive of that letter is connected to, in either case. Throws
// EZvException "Drive not found", and EZvResultException "Unable to open net enum" or "Unable to
// enum net resource" with the code of the system's error.
ZVCL::CZvString FindServerForDrive(char letter);

} // namespace zv::netware

#endif
