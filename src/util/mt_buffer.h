// Read-write buffers that several threads may share, through the lock protocol alone.
//
// Any number of readers hold the buffer between lockRead and unlockRead; a writer holds it alone
// between lockWrite and unlockWrite. getLength, getBuffer and reserve take no lock: their caller
// holds the buffer already.
#ifndef ZVSUPPORT_UTIL_MT_BUFFER_H
#define ZVSUPPORT_UTIL_MT_BUFFER_H

#include "lang/rw_lock.h"
#include "util/rw_buffer.h"

namespace ZVCL {

// The operations of the protocol throw EZvResultException with the lock's code; kFail for an unlock
// without a hold. Whatever fails after the lock was taken gives it back.
template <typename Base>
class MTBuffer : public Base {
public:
    using Unit = typename Base::Unit;

    const Unit* lockRead() const override;
    void unlockRead() const override;
    Unit* lockWrite(std::int32_t minLength) override;
    std::int32_t unlockWrite(std::int32_t newLength) override;
    void compact() override;

private:
    mutable CZvRWLock lock;
};

extern template class MTBuffer<CZvRWByteBuffer>;
extern template class MTBuffer<CZvRWCharBuffer>;

class CZvMTByteBuffer final : public MTBuffer<CZvRWByteBuffer> {};
class CZvMTCharBuffer final : public MTBuffer<CZvRWCharBuffer> {};

} // namespace ZVCL

#endif
