// Holds a buffer for reading or writing for a scope.
#ifndef ZVSUPPORT_UTIL_BUFFER_HOLD_H
#define ZVSUPPORT_UTIL_BUFFER_HOLD_H

#include "lang/exception.h"
#include "util/buffer.h"

namespace ZVCL {

// The constructor throws EZvResultException when the buffer refuses. finish() ends the read and
// throws likewise; where nobody calls it the destructor does, and a failure is not reported.
template <typename Unit>
class BufferReadHold {
public:
    explicit BufferReadHold(const IZvBuffer<Unit>& buffer) : buffer(buffer) {
        throwIfFailed(buffer.LockRead(&pointer));
    }
    ~BufferReadHold() {
        if (!finished)
            buffer.UnlockRead();
    }
    BufferReadHold(const BufferReadHold&) = delete;
    BufferReadHold& operator=(const BufferReadHold&) = delete;

    const Unit* data() const { return pointer; }
    std::int32_t length() const { return buffer.GetLength(); }
    void finish() {
        finished = true;
        throwIfFailed(buffer.UnlockRead());
    }

private:
    const IZvBuffer<Unit>& buffer;
    const Unit* pointer = nullptr;
    bool finished = false;
};

// finish() ends the write with a length and throws EZvResultException when the buffer refuses it.
// A hold that ends without it keeps the length as it was.
template <typename Unit>
class BufferWriteHold {
public:
    BufferWriteHold(IZvBuffer<Unit>& buffer, std::int32_t minLength) : buffer(buffer) {
        throwIfFailed(buffer.LockWrite(minLength, &pointer));
    }
    ~BufferWriteHold() {
        if (!finished)
            buffer.UnlockWrite(-1);
    }
    BufferWriteHold(const BufferWriteHold&) = delete;
    BufferWriteHold& operator=(const BufferWriteHold&) = delete;

    Unit* data() const { return pointer; }
    void finish(std::int32_t newLength) {
        finished = true;
        throwIfFailed(buffer.UnlockWrite(newLength));
    }

private:
    IZvBuffer<Unit>& buffer;
    Unit* pointer = nullptr;
    bool finished = false;
};

} // namespace ZVCL

#endif
