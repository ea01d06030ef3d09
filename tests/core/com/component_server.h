// What the tests and their component server know of each other.
#ifndef ZVSUPPORT_TESTS_CORE_COM_COMPONENT_SERVER_H
#define ZVSUPPORT_TESTS_CORE_COM_COMPONENT_SERVER_H

#include "core/com/class_factory.h"

#include <atomic>
#include <cstdint>

namespace zv::test {

using ZVCL::ResultCode;
using ZVCL::ZvIid;

inline constexpr ResultCode kNoAggregation = core::resultFromBits(0x80040110);
inline constexpr ResultCode kClassNotAvailable = core::resultFromBits(0x80040111);

// The classes, by the last byte of their identifiers. The server's class objects answer IZvUnknown
// and IClassFactory; its objects answer IZvUnknown and IZvComparable.
enum class ServerClass : std::uint8_t {
    Counted,     // as it should be; refuses to be part of another object
    NoObject,    // CreateInstance answers success and stores nothing
    BadObject,   // CreateInstance answers kFail and stores an address that leads nowhere
    NoFactory,   // DllGetClassObject answers success and stores nothing
    Unavailable, // the server does not know it
};
constexpr core::Guid classId(ServerClass which) {
    return {0x5E1F7A10, 0x9C3B, 0x4D52, {0x80, 1, 2, 3, 4, 5, 6, static_cast<std::uint8_t>(which)}};
}

// Of the loaded server.
struct ServerCounts {
    std::atomic<int> requests{0};             // calls of DllGetClassObject
    std::atomic<int> requestsForFactories{0}; // those that asked for IClassFactory
    std::atomic<int> classObjectReferences{0};
    std::atomic<int> objects{0};
};

// Exported as "ComponentServerCounts".
using ComponentServerCountsFunction = ServerCounts*(ZV_STDAPI_CALL*)();

// In the current folder the server appends "load", "released" (its class objects, to the last
// reference) and "unload", a space behind each.
inline constexpr const char* kServerLog = "component_server.log";

} // namespace zv::test

#endif
