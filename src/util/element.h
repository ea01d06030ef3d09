// Between a typed pointer and the plain IZvUnknown that collections hold.
//
// Collections compare elements by address where a comparator has nothing better, so an object must
// always enter them under one address: its primary one.
#ifndef ZVSUPPORT_UTIL_ELEMENT_H
#define ZVSUPPORT_UTIL_ELEMENT_H

#include "lang/exception.h"
#include "lang/object.h"
#include "lang/ref.h"

#include <concepts>
#include <cstddef>
#include <typeinfo>

namespace ZVCL {

// The primary address of an object of the class library, whichever of its classes or interfaces the
// pointer names; any other object's IZvUnknown as it stands. Takes no reference; null stays null.
template <typename T>
IZvUnknown* asUnknown(T* object) noexcept {
    if constexpr (std::same_as<T, IZvUnknown>) {
        return object;
    } else if constexpr (std::derived_from<T, CZvComObject>) {
        return static_cast<CZvComObject*>(object);
    } else {
        if (auto* primary = dynamic_cast<CZvComObject*>(object))
            return primary;
        return object;
    }
}
template <typename T>
IZvUnknown* asUnknown(const ZvRef<T>& object) noexcept {
    return asUnknown(object.get());
}

// The way back, taking over the reference. A class of the class library is not checked: what was
// stored must have been a T. An interface is sought in the object; throws EZvCastFailed when it is
// not there.
template <typename T>
ZvRef<T> elementAs(ZvRef<IZvUnknown> element) {
    if constexpr (std::same_as<T, IZvUnknown>) {
        return element;
    } else if constexpr (std::derived_from<T, CZvComObject>) {
        return ZvRef<T>::adopt(static_cast<T*>(static_cast<CZvComObject*>(element.detach())));
    } else {
        T* found = dynamic_cast<T*>(element.get());
        if (found == nullptr && element)
            throw EZvCastFailed();
        (void)element.detach();
        return ZvRef<T>::adopt(found); // the object's count serves all of its interfaces
    }
}

// dynamic_cast<T*>, quickly for one object after another of the same class: those have their parts
// at the same places. One thread at a time.
template <typename T>
class RepeatedCast {
public:
    // Null for null and for an object that is no T.
    T* operator()(IZvUnknown* object) {
        if (object == nullptr)
            return nullptr;
        char* whole = static_cast<char*>(dynamic_cast<void*>(object));
        if (type != nullptr && typeid(*object) == *type)
            return reinterpret_cast<T*>(whole + offset);
        T* found = dynamic_cast<T*>(object);
        if (found != nullptr) {
            type = &typeid(*object);
            offset = reinterpret_cast<char*>(found) - whole;
        }
        return found;
    }

private:
    const std::type_info* type = nullptr; // of the last one found
    std::ptrdiff_t offset = 0;
};

// An argument of the typed facades: a T that stays the caller's, from a reference, a pointer or
// null.
template <typename T>
class Borrowed {
public:
    Borrowed(std::nullptr_t) noexcept {}
    Borrowed(T* object) noexcept : object(object) {}
    template <typename U>
    requires std::convertible_to<U*, T*> Borrowed(const ZvRef<U>& object)
    noexcept : object(object.get()) {}

    IZvUnknown* unknown() const noexcept { return asUnknown(object); }

private:
    T* object = nullptr;
};

} // namespace ZVCL

#endif
