// The bases of collections and sets: every operation on top of an iterator and a size.
//
// One thread at a time.
#ifndef ZVSUPPORT_UTIL_ABSTRACT_COLLECTION_H
#define ZVSUPPORT_UTIL_ABSTRACT_COLLECTION_H

#include "util/collection.h"
#include "util/comparator.h"

#include <vector>

namespace ZVCL {

// A subclass implements createIterator, createConstIterator and getSize, and add where elements can
// be added. Its iterators share ownership of it, so a collection lives on the heap and whoever uses
// it holds a reference: makeRef<CZvArrayList>(). The destructors are protected for that reason.
class CZvAbstractCollection : public CZvObject, public virtual CZvCollection {
public:
    CZvAbstractCollection(const CZvAbstractCollection&) = delete;
    CZvAbstractCollection& operator=(const CZvAbstractCollection&) = delete;

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override;
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return CZvObject::AddRef(); }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return CZvObject::Release(); }

    bool add(IZvUnknown* element) override; // throws EZvUnsupportedOperation
    bool addAll(const CZvCollection& collection) override;
    void clear() override; // takes every element out through an iterator
    // Order, equality and hash are the object's own (by address), not those of its elements.
    std::int32_t compareTo(const CZvObject& other) const override;
    bool contains(IZvUnknown* element) const override;
    bool containsAll(const CZvCollection& collection) const override;
    bool equals(const CZvObject& other) const override;
    std::uint32_t hashCode() const override;
    bool remove(IZvUnknown* element) override;
    bool removeAll(const CZvCollection& collection) override;
    bool retainAll(const CZvCollection& collection) override;

    // What decides equality; never null, lives as long as the collection.
    IZvComparator& getComparator() const noexcept { return *comparator; }

protected:
    // Takes a reference on the comparator; null stands for the default one.
    explicit CZvAbstractCollection(IZvComparator* comparator = nullptr);
    ~CZvAbstractCollection() override = default;

    bool isEqual(IZvUnknown* left, IZvUnknown* right) const {
        return compareBy(*comparator, left, right) == 0;
    }

private:
    ZvRef<IZvComparator> comparator;
};

class CZvAbstractSet : public CZvAbstractCollection, public virtual CZvSet {
protected:
    using CZvAbstractCollection::CZvAbstractCollection;
    ~CZvAbstractSet() override = default;
};

// What the collection holds now: for operations that must not read from what they change.
std::vector<ZvRef<IZvUnknown>> elementsOf(const CZvCollection& collection);

} // namespace ZVCL

#endif
