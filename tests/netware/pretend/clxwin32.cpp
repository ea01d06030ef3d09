// The pretend "clxwin32": what "calwin32" leaves to it.
#include "pretend.h"

#include <cstring>
#include <string>

namespace {

using namespace zv::pretend;

const Presence presence("clxwin32");

} // namespace

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL NWCCGetConnRef(std::uintptr_t handle,
                                                       std::uint32_t* reference) {
    record("NWCCGetConnRef " + hex(handle));
    *reference = 7;
    return scriptedNumber("NWCCGetConnRef", 0);
}

ZV_PRETEND std::uint32_t ZV_STDAPI_CALL NWCCGetConnInfo(std::uintptr_t handle, std::uint32_t type,
                                                        std::uint32_t length, void* information) {
    record("NWCCGetConnInfo " + hex(handle) + ' ' + std::to_string(type) + ' ' +
           std::to_string(length));
    const std::uint32_t number = 0x123;
    std::memcpy(information, &number, sizeof number);
    return scriptedNumber("NWCCGetConnInfo", 0);
}
