// The pretend "calwin32": a function for each service. Each answers 0 unless the script gives
// another status by the function's name.
#include "pretend.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace {

using namespace zv::pretend;

const Presence presence("calwin32");

constexpr std::uintptr_t kHandle = 0x5566;

std::uint32_t answer(const char* function, std::uintptr_t handle, const std::string& arguments) {
    record(std::string(function) + (handle == kHandle ? "" : " of another handle") + arguments);
    return scriptedNumber(function, 0);
}

} // namespace

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL NWCallsInit(void* first, void* second) {
    return answer("NWCallsInit", kHandle, first == nullptr && second == nullptr ? "" : " !");
}

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL NWCallsTerm(void* nothing) {
    return answer("NWCallsTerm", kHandle, nothing == nullptr ? "" : " !");
}

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL NWAttachToFileServer(const char* server,
                                                             std::uint32_t scope,
                                                             std::uintptr_t* handle) {
    *handle = kHandle;
    return answer("NWAttachToFileServer", kHandle,
                  ' ' + std::string(server) + ' ' + std::to_string(scope));
}

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL NWSMLoadNLM(std::uintptr_t handle,
                                                    const char* commandLine) {
    moduleIsLoaded();
    return answer("NWSMLoadNLM", handle, ' ' + std::string(commandLine));
}

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL NWSMExecuteNCFFile(std::uintptr_t handle,
                                                           const char* fileName) {
    return answer("NWSMExecuteNCFFile", handle, ' ' + std::string(fileName));
}

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL NWCheckConsolePrivileges(std::uintptr_t handle) {
    return answer("NWCheckConsolePrivileges", handle, "");
}

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL
NWGetConnectionInformation(std::uintptr_t handle, std::uint32_t number, std::uint8_t* name,
                           std::uint16_t* type, std::uint32_t* id, std::uint8_t* loginTime) {
    const Bytes bytes = nameBytes(48);
    std::copy(bytes.begin(), bytes.end(), name);
    *type = 0x0104;
    *id = 0x01020304;
    const Bytes time = bytesOf("670A1D09123803");
    std::copy(time.begin(), time.end(), loginTime);
    return answer("NWGetConnectionInformation", handle, ' ' + std::to_string(number));
}

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL NWGetVolumeName(std::uintptr_t handle, std::int32_t number,
                                                        std::uint8_t* name) {
    const Bytes bytes = nameBytes(20);
    std::copy(bytes.begin(), bytes.end(), name);
    return answer("NWGetVolumeName", handle, ' ' + std::to_string(number));
}

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL NWGetFileServerVersionInfo(std::uintptr_t handle,
                                                                   std::uint8_t* information) {
    const Bytes bytes = serverInformation();
    std::copy(bytes.begin(), bytes.end(), information);
    return answer("NWGetFileServerVersionInfo", handle, "");
}
