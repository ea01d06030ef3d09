// Buffers that own a block of the heap and grow on demand.
//
// One thread at a time.
#ifndef ZVSUPPORT_UTIL_RW_BUFFER_H
#define ZVSUPPORT_UTIL_RW_BUFFER_H

#include "util/buffer.h"

namespace ZVCL {

// Blocks hold a multiple of 16 elements, the request rounded up: whoever fills a buffer says at
// once how much it needs. Growing throws std::bad_alloc and leaves the buffer as it was.
template <typename Base>
class RWBuffer : public Base {
public:
    using Unit = typename Base::Unit;

    RWBuffer() noexcept = default; // no block
    explicit RWBuffer(std::int32_t capacity);
    RWBuffer(const RWBuffer&) = delete;
    RWBuffer& operator=(const RWBuffer&) = delete;
    ~RWBuffer() override;

    std::int32_t getLength() const override { return length; }
    const Unit* getBuffer() const override { return data; }
    const Unit* lockRead() const override { return data; }
    void unlockRead() const override {}
    bool isWritable() const override { return true; }
    Unit* lockWrite(std::int32_t minLength) override { return RWBuffer::reserve(minLength); }
    // Never shrinks.
    Unit* reserve(std::int32_t minCapacity) override;
    // Throws EZvRangeError, and nothing changes, for a length beyond the capacity.
    std::int32_t unlockWrite(std::int32_t newLength) override;
    // Frees the block when the length is 0.
    void compact() override { resize(length); }

    std::int32_t getCapacity() const noexcept { return capacity; }

protected:
    void resize(std::int32_t elements);

    Unit* data = nullptr; // owned
    std::int32_t capacity = 0;
    std::int32_t length = 0;
};

extern template class RWBuffer<CZvAbstractByteBuffer>;
extern template class RWBuffer<CZvAbstractCharBuffer>;

class CZvRWByteBuffer : public RWBuffer<CZvAbstractByteBuffer> {
public:
    using RWBuffer::RWBuffer;
};

class CZvRWCharBuffer : public RWBuffer<CZvAbstractCharBuffer> {
public:
    using RWBuffer::RWBuffer;
    // A copy of `count` characters, with room for `capacity`. A count below 1 copies nothing.
    CZvRWCharBuffer(const char16_t* text, std::int32_t count, std::int32_t capacity);
};

} // namespace ZVCL

#endif
