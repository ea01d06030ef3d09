// The interface of lists: collections whose elements have an index.
//
// The rules of util/collection.h hold. An index outside its range throws EZvRangeError, and the
// list has not changed.
#ifndef ZVSUPPORT_UTIL_LIST_H
#define ZVSUPPORT_UTIL_LIST_H

#include "util/collection.h"

namespace ZVCL {

class CZvList : public virtual CZvCollection {
public:
    using CZvCollection::add;
    using CZvCollection::addAll;

    // Inserts at 0 <= index <= size; later elements move up. True when the list has changed.
    virtual bool add(std::int32_t index, IZvUnknown* element) = 0;
    // Inserts every element that `collection` has when the call begins, in its order.
    virtual bool addAll(std::int32_t index, const CZvCollection& collection) = 0;
    // Takes the element at 0 <= index < size out and answers it.
    virtual ZvRef<IZvUnknown> removeAt(std::int32_t index) = 0;
    // An iterator in front of the element at 0 <= index <= size.
    virtual ZvRef<CZvListIterator> createListIterator(std::int32_t index) = 0;
    virtual ZvRef<CZvConstListIterator> createConstListIterator(std::int32_t index) const = 0;
    // A live view of the elements [from, to), 0 <= from <= to <= size: what is changed through the
    // view changes the list. A structural change that is made past the view ends it: whatever is
    // asked of the view from then on throws EZvException.
    virtual ZvRef<CZvList> subList(std::int32_t from, std::int32_t to) = 0;
    virtual ZvRef<CZvList> constSubList(std::int32_t from, std::int32_t to) const = 0;
    virtual ZvRef<IZvUnknown> get(std::int32_t index) const = 0; // 0 <= index < size
    // The first (last) index of an equal element, or -1.
    virtual std::int32_t indexOf(IZvUnknown* element) const = 0;
    virtual std::int32_t lastIndexOf(IZvUnknown* element) const = 0;
    // Replaces the element at 0 <= index < size and answers the one before.
    virtual ZvRef<IZvUnknown> set(std::int32_t index, IZvUnknown* element) = 0;

protected:
    ~CZvList() = default;
};

} // namespace ZVCL

#endif
