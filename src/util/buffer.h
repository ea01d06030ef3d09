// Byte and character buffers: growable blocks with a length, handed between components through an
// interface so that a callee can fill memory that the caller owns.
//
// Access follows a protocol. A reader calls LockRead, reads GetLength() elements and calls
// UnlockRead; a writer calls LockWrite with the room it needs, writes, and calls UnlockWrite with
// the new length. Only the CZvMT classes may be used by several threads at once.
//
// Lengths and capacities are signed 32-bit counts of elements.
#ifndef ZVSUPPORT_UTIL_BUFFER_H
#define ZVSUPPORT_UTIL_BUFFER_H

#include "lang/object.h"

#include <cstdint>

namespace ZVCL {

// The two buffer interfaces differ in the element alone.
template <typename Element>
class IZvBuffer : public IZvUnknown {
public:
    using Unit = Element;
    // One value for both: a buffer object answers it with the one interface it has.
    static constexpr ZvIid kIid = {
        0xB21E8A7A, 0xD595, 0x4658, {0x9C, 0xFE, 0x45, 0x6F, 0x1E, 0x57, 0x81, 0x67}};

    virtual std::int32_t ZV_INTERFACE_CALL GetLength() const = 0;
    // The first element, without locking; null when there is no block. It stays valid until the
    // buffer grows, shrinks or ends.
    virtual const Unit* ZV_INTERFACE_CALL GetBuffer() const = 0;
    // These answer result codes. A pointer is stored through the out-parameter, null on failure;
    // kPointer when the out-parameter itself is null.
    virtual ResultCode ZV_INTERFACE_CALL LockRead(const Unit** data) const = 0;
    virtual ResultCode ZV_INTERFACE_CALL UnlockRead() const = 0;
    virtual bool ZV_INTERFACE_CALL IsWritable() const = 0;
    virtual ResultCode ZV_INTERFACE_CALL LockWrite(std::int32_t minLength, Unit** data) = 0;
    virtual ResultCode ZV_INTERFACE_CALL Reserve(std::int32_t minCapacity, Unit** data) = 0;
    // A negative length keeps the one before.
    virtual ResultCode ZV_INTERFACE_CALL UnlockWrite(std::int32_t newLength) = 0;
    // Shrinks the capacity to the length.
    virtual ResultCode ZV_INTERFACE_CALL Compact() = 0;

protected:
    ~IZvBuffer() = default;
};

class IZvByteBuffer : public IZvBuffer<std::uint8_t> {
protected:
    ~IZvByteBuffer() = default;
};

class IZvCharBuffer : public IZvBuffer<char16_t> {
protected:
    ~IZvCharBuffer() = default;
};

// The operations behind the interface, which throw where the interface answers a code: an
// EZvException gives its getResult, exhaustion kOutOfMemory, anything else kFail.
template <typename Interface>
class AbstractBuffer : public CZvObject, public Interface {
public:
    using Unit = typename Interface::Unit;

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override;
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return CZvObject::AddRef(); }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return CZvObject::Release(); }

    virtual std::int32_t getLength() const = 0;
    virtual const Unit* getBuffer() const = 0;
    virtual const Unit* lockRead() const = 0;
    virtual void unlockRead() const = 0;
    virtual bool isWritable() const = 0;
    virtual Unit* lockWrite(std::int32_t minLength) = 0;
    virtual Unit* reserve(std::int32_t minCapacity) = 0;
    virtual std::int32_t unlockWrite(std::int32_t newLength) = 0; // answers its argument
    virtual void compact() = 0;

    std::int32_t ZV_INTERFACE_CALL GetLength() const override { return getLength(); }
    const Unit* ZV_INTERFACE_CALL GetBuffer() const override { return getBuffer(); }
    ResultCode ZV_INTERFACE_CALL LockRead(const Unit** data) const override;
    ResultCode ZV_INTERFACE_CALL UnlockRead() const override;
    bool ZV_INTERFACE_CALL IsWritable() const override { return isWritable(); }
    ResultCode ZV_INTERFACE_CALL LockWrite(std::int32_t minLength, Unit** data) override;
    ResultCode ZV_INTERFACE_CALL Reserve(std::int32_t minCapacity, Unit** data) override;
    ResultCode ZV_INTERFACE_CALL UnlockWrite(std::int32_t newLength) override;
    ResultCode ZV_INTERFACE_CALL Compact() override;
};

extern template class AbstractBuffer<IZvByteBuffer>;
extern template class AbstractBuffer<IZvCharBuffer>;

class CZvAbstractByteBuffer : public AbstractBuffer<IZvByteBuffer> {};
class CZvAbstractCharBuffer : public AbstractBuffer<IZvCharBuffer> {};

} // namespace ZVCL

#endif
