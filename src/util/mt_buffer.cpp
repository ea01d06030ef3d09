#include "util/mt_buffer.h"

#include "lang/exception.h"

namespace ZVCL {

template <typename Base>
auto MTBuffer<Base>::lockRead() const -> const Unit* {
    lock.acquireShared();
    return Base::data;
}

template <typename Base>
void MTBuffer<Base>::unlockRead() const {
    lock.releaseShared();
}

template <typename Base>
auto MTBuffer<Base>::lockWrite(std::int32_t minLength) -> Unit* {
    lock.acquire();
    try {
        return Base::reserve(minLength);
    } catch (...) {
        lock.release();
        throw;
    }
}

template <typename Base>
std::int32_t MTBuffer<Base>::unlockWrite(std::int32_t newLength) {
    try {
        Base::unlockWrite(newLength);
    } catch (...) {
        lock.release();
        throw;
    }
    lock.release();
    return newLength;
}

template <typename Base>
void MTBuffer<Base>::compact() {
    const LockHold hold(lock);
    Base::compact();
}

template class MTBuffer<CZvRWByteBuffer>;
template class MTBuffer<CZvRWCharBuffer>;

} // namespace ZVCL
