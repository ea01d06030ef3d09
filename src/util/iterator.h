// The interfaces of iterators over collections.
//
// An iterator stands between two elements. It keeps its collection alive and, where the collection
// counts its structural changes, notices those that were not made through it: from then on it
// throws EZvException. One thread at a time uses a collection and its iterators.
//
// Elements are handed out with a reference of the caller's own; a stored null comes back as null.
#ifndef ZVSUPPORT_UTIL_ITERATOR_H
#define ZVSUPPORT_UTIL_ITERATOR_H

#include "lang/ref.h"
#include "util/interface.h"

#include <cstdint>

namespace ZVCL {

class CZvConstIterator : public virtual CZvInterface {
public:
    // Whether an element remains. Never throws for a change behind the iterator's back.
    virtual bool hasNext() = 0;
    // The next element. At the end a list's iterator throws EZvRangeError, a map's EZvException.
    virtual ZvRef<IZvUnknown> next() = 0;

protected:
    ~CZvConstIterator() = default;
};

class CZvIterator : public virtual CZvConstIterator {
public:
    // Takes the element last returned out of the collection. Throws EZvIllegalState when there is
    // none: before the first element, and after remove or add.
    virtual void remove() = 0;

protected:
    ~CZvIterator() = default;
};

class CZvConstListIterator : public virtual CZvConstIterator {
public:
    virtual bool hasPrevious() = 0;
    // The element in front of the iterator. Throws EZvRangeError at the beginning.
    virtual ZvRef<IZvUnknown> previous() = 0;
    virtual std::int32_t nextIndex() const = 0;     // of what next() would return
    virtual std::int32_t previousIndex() const = 0; // one less

protected:
    ~CZvConstListIterator() = default;
};

class CZvListIterator : public virtual CZvIterator, public virtual CZvConstListIterator {
public:
    // Inserts in front of the iterator, so that previous() would return it.
    virtual void add(IZvUnknown* element) = 0;
    // Replaces the element last returned. Throws EZvIllegalState like remove().
    virtual void set(IZvUnknown* element) = 0;

protected:
    ~CZvListIterator() = default;
};

} // namespace ZVCL

#endif
