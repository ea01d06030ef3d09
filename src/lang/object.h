// The base of every class of the class library: counted, comparable, hashable, printable, clonable
// where a class allows it, and able to name its class.
//
// References may be taken and dropped by any thread; everything else about an object belongs to one
// thread at a time unless its class says otherwise.
#ifndef ZVSUPPORT_LANG_OBJECT_H
#define ZVSUPPORT_LANG_OBJECT_H

#include "lang/unknown.h"

#include <atomic>
#include <cstdint>

namespace ZVCL {

class CZvClass;
class CZvString;

// Where a component counts its living objects, so that it is not unloaded under them. The component
// defines the first two words.
struct ModuleCounter {
    std::uint32_t componentWords[2];
    std::atomic<std::int32_t> liveObjects;
};
static_assert(sizeof(ModuleCounter) == 12);

// Implements IZvUnknown. An object is born with count 0: whoever first holds it takes the first
// reference (ZvRef::share), and the last Release deletes it. An object on the stack or inside
// another is never released to the end through Release.
class CZvComObject : public IZvUnknown {
public:
    constexpr CZvComObject() noexcept = default;
    // The count and the module are the object's own: a copy starts with none.
    constexpr CZvComObject(const CZvComObject&) noexcept {}
    CZvComObject& operator=(const CZvComObject&) noexcept { return *this; }

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override;
    std::uint32_t ZV_INTERFACE_CALL AddRef() override;
    std::uint32_t ZV_INTERFACE_CALL Release() override;

    // Whether the one reference there is belongs to the caller, who holds one: then nobody else can
    // take another. What earlier holders did comes before.
    bool hasOneReference() const noexcept { return refCount.load(std::memory_order_acquire) == 1; }

    virtual ~CZvComObject() = default;

private:
    std::atomic<std::int32_t> refCount{0};

public:
    // Null, or the counter that this object counts in from its first reference to its last. Not
    // owned; set, if at all, before the first reference.
    ModuleCounter* module = nullptr;
};

class CZvObject : public CZvComObject, public IZvComparable {
public:
    constexpr CZvObject() noexcept = default;
    constexpr CZvObject(const CZvObject&) noexcept = default;
    CZvObject& operator=(const CZvObject&) noexcept = default;

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override;
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return CZvComObject::AddRef(); }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return CZvComObject::Release(); }
    ~CZvObject() override = default;

    // A new object of the same class and value, with count 0. Throws EZvCloneNotSupported for a
    // class that does not say how it is cloned.
    [[nodiscard]] virtual CZvObject* clone() const;
    // Negative, 0 or positive. Here: the order of the addresses, in units of 16 bytes.
    virtual std::int32_t compareTo(const CZvObject& other) const;
    // Here: whether both are one object.
    virtual bool equals(const CZvObject& other) const;
    // The record of the object's dynamic type, which the class table keeps alive while the library
    // is started. Throws EZvClassNotFound, with the type's readable name, for a class that is not
    // in the table.
    virtual CZvClass& getClass() const;
    // Here: made from the address.
    virtual std::uint32_t hashCode() const;
    // Here: the class's name ("CZvObject" when it has no record), "@" and the hash in hexadecimal.
    virtual CZvString toString() const;

    // An `other` that is no CZvObject is ordered by address, in units of 4 bytes.
    ResultCode ZV_INTERFACE_CALL CompareTo(IZvUnknown* other, std::int32_t* order) override;
    ResultCode ZV_INTERFACE_CALL HashCode(std::uint32_t* hash) override;
};

} // namespace ZVCL

#endif
