// What the two client stacks have in common: objects of one interface, entry points, and the form
// in which both give names, times and versions.
#ifndef ZVSUPPORT_NETWARE_STACK_PARTS_H
#define ZVSUPPORT_NETWARE_STACK_PARTS_H

#include "core/com/shared_library.h"
#include "lang/exception.h"
#include "lang/interface_map.h"
#include "lang/object.h"
#include "netware/nw_client.h"

#include <cstddef>
#include <cstdint>

namespace zv::netware {

// A counted object that has one interface besides IZvUnknown.
template <typename Interface>
class CountedObject : public ZVCL::CZvComObject, public Interface {
public:
    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZVCL::ZvIid& iid, void** object) override {
        static constexpr ZVCL::InterfaceMapEntry kMap[] = {
            ZVCL::kInterfaceEntry<CountedObject, Interface>, ZVCL::kInterfaceMapEnd};
        return ZVCL::queryInterfaceMap(static_cast<ZVCL::CZvComObject*>(this), this, kMap, iid,
                                       object);
    }
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return CZvComObject::AddRef(); }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return CZvComObject::Release(); }
};

// Connect of either stack: a new Connection to the server of that name.
template <typename Connection>
ResultCode connectTo(const char16_t* serverName, INWServerConnection** connection) {
    if (connection == nullptr)
        return core::kPointer;
    *connection = nullptr;
    return ZVCL::resultFrame([&] {
        *connection = ZVCL::makeRef<Connection>(ZVCL::CZvString(serverName)).detach();
        return core::kOk;
    });
}

// Stores the entry point of that name. Throws EZvResultException "Failed to get symbol.".
template <typename Function>
void resolve(const ZVCL::CZvSharedLibrary& library, const char16_t* name, Function& function) {
    function = reinterpret_cast<Function>(library.GetSymbol(name));
}

// Copies the narrow text up to its first zero, or all of it when there is none, into `name`, and a
// zero behind it that the length does not count. Throws.
void copyName(const char* text, std::size_t size, ZVCL::IZvCharBuffer& name);

// A login time as servers send it: year since 1900, month, day, hour, minute, second, day of week
// (0: Sunday).
inline constexpr std::size_t kLoginTimeSize = 7;
SYSTEMTIME toSystemTime(const std::uint8_t (&time)[kLoginTimeSize]);

// The first bytes of a server's information block, as much as anyone asks for.
inline constexpr std::size_t kServerInformationSize = 128;
struct ServerVersion {
    std::uint32_t major;
    std::uint32_t minor;
    std::uint32_t revision;
};
ServerVersion versionIn(const std::uint8_t (&information)[kServerInformationSize]);

} // namespace zv::netware

#endif
