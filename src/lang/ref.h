// The one pointer that holds a counted reference to an object with AddRef and Release.
//
// A reference (one ZvRef) belongs to one thread at a time; several threads may hold references of
// their own to one object.
#ifndef ZVSUPPORT_LANG_REF_H
#define ZVSUPPORT_LANG_REF_H

#include <concepts>
#include <cstddef>
#include <utility>

namespace ZVCL {

// Holds one reference to a T, or null. A raw pointer enters by a named act: share() for an object
// that keeps its other references (a new object among them, whose count is 0), adopt() for a
// reference that the caller holds already.
template <typename T>
class ZvRef {
public:
    ZvRef() = default;
    ZvRef(std::nullptr_t) {}
    ZvRef(const ZvRef& other) noexcept : object(other.object) { take(); }
    ZvRef(ZvRef&& other) noexcept : object(other.detach()) {}
    template <typename U>
    requires std::convertible_to<U*, T*> ZvRef(const ZvRef<U>& other)
    noexcept : object(other.get()) { take(); }
    template <typename U>
    requires std::convertible_to<U*, T*> ZvRef(ZvRef<U>&& other)
    noexcept : object(other.detach()) {}
    ~ZvRef() { reset(); }

    ZvRef& operator=(ZvRef other) noexcept {
        std::swap(object, other.object);
        return *this;
    }

    // Takes a reference of its own on `shared` (which may be null).
    [[nodiscard]] static ZvRef share(T* shared) noexcept {
        ZvRef ref;
        ref.object = shared;
        ref.take();
        return ref;
    }
    // Takes over a reference that the caller holds.
    [[nodiscard]] static ZvRef adopt(T* owned) noexcept {
        ZvRef ref;
        ref.object = owned;
        return ref;
    }

    // Gives the reference to the caller, who has to release it.
    [[nodiscard]] T* detach() noexcept { return std::exchange(object, nullptr); }
    // Drops the reference. The slot is null by the time the object is deleted.
    void reset() noexcept {
        if (T* dropped = std::exchange(object, nullptr))
            dropped->Release();
    }

    T* get() const noexcept { return object; }
    T* operator->() const noexcept { return object; }
    T& operator*() const noexcept { return *object; }
    explicit operator bool() const noexcept { return object != nullptr; }

private:
    void take() const noexcept {
        if (object != nullptr)
            object->AddRef();
    }

    T* object = nullptr;
};

// A new T with its first reference.
template <typename T, typename... Arguments>
[[nodiscard]] ZvRef<T> makeRef(Arguments&&... arguments) {
    return ZvRef<T>::share(new T(std::forward<Arguments>(arguments)...));
}

} // namespace ZVCL

#endif
