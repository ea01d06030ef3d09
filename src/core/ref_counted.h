// The root of every reference-counted object of the core layer, and the pointer that holds one.
//
// The count is atomic: references to one object may be taken and dropped by several threads. A
// reference itself (one CoreRef) belongs to one thread at a time.
#ifndef ZVSUPPORT_CORE_REF_COUNTED_H
#define ZVSUPPORT_CORE_REF_COUNTED_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace zv::core {

class CZvCoreRefCounted {
public:
    CZvCoreRefCounted() = default;
    CZvCoreRefCounted(const CZvCoreRefCounted&) = delete;
    CZvCoreRefCounted& operator=(const CZvCoreRefCounted&) = delete;
    virtual ~CZvCoreRefCounted() = default;

    // Takes one reference and answers the new count.
    std::int32_t addReference() { return refCount.fetch_add(1, std::memory_order_relaxed) + 1; }

    // Drops one reference, deletes the object with the last one, and answers the remaining count.
    std::int32_t dropReference() {
        const std::int32_t remaining = refCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (remaining == 0)
            delete this;
        return remaining;
    }

private:
    std::atomic<std::int32_t> refCount{0};
};

// Holds one counted reference to a T, or null.
template <typename T>
class CoreRef {
public:
    CoreRef() = default;
    CoreRef(std::nullptr_t) {}
    CoreRef(const CoreRef& other) : object(other.object) {
        if (object != nullptr)
            object->addReference();
    }
    CoreRef(CoreRef&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
    template <typename U>
    CoreRef(CoreRef<U>&& other) noexcept : object(other.detach()) {}
    ~CoreRef() { reset(); }

    CoreRef& operator=(CoreRef other) noexcept {
        std::swap(object, other.object);
        return *this;
    }

    // Takes a reference of its own on `shared` (which may be null).
    static CoreRef share(T* shared) {
        if (shared != nullptr)
            shared->addReference();
        return adopt(shared);
    }
    // Takes over a reference that the caller holds.
    static CoreRef adopt(T* owned) {
        CoreRef ref;
        ref.object = owned;
        return ref;
    }

    // Gives the reference to the caller, who has to drop it.
    T* detach() { return std::exchange(object, nullptr); }
    // Drops the reference. The slot is null by the time the object is deleted.
    void reset() noexcept {
        if (T* dropped = std::exchange(object, nullptr))
            dropped->dropReference();
    }

    T* get() const { return object; }
    T* operator->() const { return object; }
    T& operator*() const { return *object; }
    explicit operator bool() const { return object != nullptr; }

private:
    T* object = nullptr;
};

// A new T with its first reference.
template <typename T, typename... Arguments>
CoreRef<T> makeCoreRef(Arguments&&... arguments) {
    return CoreRef<T>::share(new T(std::forward<Arguments>(arguments)...));
}

} // namespace zv::core

#endif
