// The interfaces of collections of counted objects.
//
// A collection holds one reference on each element; elements may be null, and equal elements may
// occur more than once except in sets. Equality and hash are those of the collection's comparator
// (util/comparator.h): a failing one ends an operation with EZvResultException and its code.
//
// Nothing here locks: one thread at a time uses a collection with its iterators and views.
//
// Sizes and indexes are signed 32-bit. Iterators are handed out with a reference of the caller's
// own and keep their collection alive, so a collection must be held by a reference itself.
#ifndef ZVSUPPORT_UTIL_COLLECTION_H
#define ZVSUPPORT_UTIL_COLLECTION_H

#include "lang/object.h"
#include "util/iterator.h"

namespace ZVCL {

class CZvCollection : public virtual CZvInterface {
public:
    // True when the collection has changed. Throws EZvUnsupportedOperation where elements cannot be
    // added: in the views of a map.
    virtual bool add(IZvUnknown* element) = 0;
    // Adds every element that `collection` has when the call begins, in its order; it may be this
    // collection or a view of it. What was added before a failure stays.
    virtual bool addAll(const CZvCollection& collection) = 0;
    virtual void clear() = 0;
    virtual std::int32_t compareTo(const CZvObject& other) const = 0;
    virtual bool contains(IZvUnknown* element) const = 0;
    virtual bool containsAll(const CZvCollection& collection) const = 0;
    // Both give the same live iterator; the second one does not let its holder change anything.
    virtual ZvRef<CZvIterator> createIterator() = 0;
    virtual ZvRef<CZvConstIterator> createConstIterator() const = 0;
    virtual bool equals(const CZvObject& other) const = 0;
    virtual std::int32_t getSize() const = 0;
    virtual std::uint32_t hashCode() const = 0;
    // Removes the first element equal to this one. True when there was one.
    virtual bool remove(IZvUnknown* element) = 0;
    // Removes one occurrence for each element that `collection` has when the call begins. True when
    // anything was removed.
    virtual bool removeAll(const CZvCollection& collection) = 0;
    // Removes what `collection` does not contain, by its own comparator. True when anything was
    // removed.
    virtual bool retainAll(const CZvCollection& collection) = 0;

protected:
    ~CZvCollection() = default;
};

// A collection without duplicates.
class CZvSet : public virtual CZvCollection {
protected:
    ~CZvSet() = default;
};

} // namespace ZVCL

#endif
