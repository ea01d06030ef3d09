// Buffers over memory that belongs to somebody else and is only read.
//
// They never change, so any thread may read them at any time.
#ifndef ZVSUPPORT_UTIL_RO_BUFFER_H
#define ZVSUPPORT_UTIL_RO_BUFFER_H

#include "util/buffer.h"

namespace ZVCL {

// Writing throws EZvReadOnly; through the interface it answers kNotImplemented.
template <typename Base>
class ROBuffer : public Base {
public:
    using Unit = typename Base::Unit;

    ROBuffer() noexcept = default;
    ROBuffer(const ROBuffer&) = delete;
    ROBuffer& operator=(const ROBuffer&) = delete;

    std::int32_t getLength() const override { return length; }
    const Unit* getBuffer() const override { return data; }
    const Unit* lockRead() const override { return data; }
    void unlockRead() const override {}
    bool isWritable() const override { return false; }
    Unit* lockWrite(std::int32_t minLength) override;
    Unit* reserve(std::int32_t minCapacity) override;
    std::int32_t unlockWrite(std::int32_t newLength) override;
    void compact() override {}

    ResultCode ZV_INTERFACE_CALL LockWrite(std::int32_t minLength, Unit** pointer) override;
    ResultCode ZV_INTERFACE_CALL Reserve(std::int32_t minCapacity, Unit** pointer) override;
    ResultCode ZV_INTERFACE_CALL UnlockWrite(std::int32_t newLength) override;

protected:
    ROBuffer(const Unit* data, std::int32_t length) noexcept
        : data(data), length(length > 0 ? length : 0) {}

private:
    const Unit* data = nullptr; // not owned
    std::int32_t length = 0;
};

extern template class ROBuffer<CZvAbstractByteBuffer>;
extern template class ROBuffer<CZvAbstractCharBuffer>;

class CZvROByteBuffer final : public ROBuffer<CZvAbstractByteBuffer> {};

class CZvROCharBuffer final : public ROBuffer<CZvAbstractCharBuffer> {
public:
    CZvROCharBuffer() noexcept = default;
    // Wraps `count` characters, which must outlive the buffer.
    CZvROCharBuffer(const char16_t* text, std::int32_t count) noexcept : ROBuffer(text, count) {}
};

} // namespace ZVCL

#endif
