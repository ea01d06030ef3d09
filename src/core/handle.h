// Opaque handles of the core layer, and the one owner template for everything that is closed by a
// call.
#ifndef ZVSUPPORT_CORE_HANDLE_H
#define ZVSUPPORT_CORE_HANDLE_H

#include <cstdint>
#include <utility>

namespace zv::core {

// A pointer-sized number; 32 bits on the product's own platform, as its hosts know it.
using Handle = std::intptr_t;

inline constexpr Handle kNoHandle = -1;

// Owns one handle and closes it at the end of its life. Traits gives `Type`, `none()` (the value
// that means no handle) and `close(Type)`, whose failures are not reported: destructors never
// throw.
template <typename Traits>
class UniqueHandle {
public:
    using Type = typename Traits::Type;

    UniqueHandle() = default;
    explicit UniqueHandle(Type owned) : handle(owned) {}
    UniqueHandle(UniqueHandle&& other) noexcept : handle(other.release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        if (this != &other)
            reset(other.release());
        return *this;
    }
    ~UniqueHandle() { reset(); }

    Type get() const { return handle; }
    explicit operator bool() const { return handle != Traits::none(); }
    // Gives the handle to the caller, who has to close it.
    Type release() { return std::exchange(handle, Traits::none()); }
    void reset(Type owned = Traits::none()) {
        const Type closed = std::exchange(handle, owned);
        if (closed != Traits::none())
            Traits::close(closed);
    }
    // Closes what is held and answers the slot for a call that gives a handle through a parameter.
    Type& receive() {
        reset();
        return handle;
    }

private:
    Type handle = Traits::none();
};

} // namespace zv::core

#endif
