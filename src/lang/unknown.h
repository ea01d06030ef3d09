// The two root interfaces: counted references with an interface query, and order with a hash.
//
// References to one object may be taken and dropped by several threads; everything else follows the
// thread rule of the class behind the interface.
#ifndef ZVSUPPORT_LANG_UNKNOWN_H
#define ZVSUPPORT_LANG_UNKNOWN_H

#include "core/guid.h"
#include "core/result.h"
#include "platform/calling_convention.h"

#include <cstdint>

namespace ZVCL {

using zv::core::ResultCode;

// An interface identifier. Two are equal when all of their 16 bytes are.
using ZvIid = zv::core::Guid;

class IZvUnknown {
public:
    static constexpr ZvIid kIid = {
        0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

    // Stores the object's interface of that identifier in *object, with a reference for the caller,
    // and answers 0. kNoInterface and a null *object when there is none; kPointer when `object` is
    // null.
    virtual ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) = 0;
    // Both answer the new count; the last Release deletes the object.
    virtual std::uint32_t ZV_INTERFACE_CALL AddRef() = 0;
    virtual std::uint32_t ZV_INTERFACE_CALL Release() = 0;

protected:
    ~IZvUnknown() = default;
};

class IZvComparable : public IZvUnknown {
public:
    static constexpr ZvIid kIid = {
        0x72038029, 0xFA65, 0x4255, {0xA9, 0x16, 0x1C, 0x56, 0x80, 0xAC, 0xFE, 0xBF}};

    // Stores a negative number, 0 or a positive one. kPointer when the out-parameter is null.
    virtual ResultCode ZV_INTERFACE_CALL CompareTo(IZvUnknown* other, std::int32_t* order) = 0;
    virtual ResultCode ZV_INTERFACE_CALL HashCode(std::uint32_t* hash) = 0;

protected:
    ~IZvComparable() = default;
};

} // namespace ZVCL

#endif
