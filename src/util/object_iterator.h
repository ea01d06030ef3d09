// Typed facades of the iterators: each shares ownership of an iterator and forwards to it, and
// knows that the elements are of class T.
//
// The rules of util/iterator.h hold; one thread at a time. Elements are taken for T as
// util/element.h says. A null iterator throws EZvIllegalState at construction.
#ifndef ZVSUPPORT_UTIL_OBJECT_ITERATOR_H
#define ZVSUPPORT_UTIL_OBJECT_ITERATOR_H

#include "lang/object.h"
#include "util/element.h"
#include "util/iterator.h"

#include <iterator>
#include <utility>

namespace ZVCL {

// Answers what a facade is to wrap; throws EZvIllegalState when there is nothing.
template <typename Interface>
ZvRef<Interface> wrapped(ZvRef<Interface> object) {
    if (!object)
        throw EZvIllegalState();
    return object;
}

template <typename T>
class CZvObjectConstIterator : public CZvObject {
public:
    explicit CZvObjectConstIterator(ZvRef<CZvConstIterator> iterator)
        : iterator(wrapped(std::move(iterator))) {}

    virtual bool hasNext() { return iterator->hasNext(); }
    virtual ZvRef<T> next() { return elementAs<T>(iterator->next()); }

private:
    ZvRef<CZvConstIterator> iterator;
};

template <typename T>
class CZvObjectIterator : public CZvObjectConstIterator<T> {
public:
    explicit CZvObjectIterator(ZvRef<CZvIterator> iterator)
        : CZvObjectConstIterator<T>(iterator), iterator(std::move(iterator)) {}

    virtual void remove() { iterator->remove(); }

private:
    ZvRef<CZvIterator> iterator;
};

template <typename T>
class CZvObjectConstListIterator : public CZvObjectConstIterator<T> {
public:
    explicit CZvObjectConstListIterator(ZvRef<CZvConstListIterator> iterator)
        : CZvObjectConstIterator<T>(iterator), iterator(std::move(iterator)) {}

    virtual bool hasPrevious() { return iterator->hasPrevious(); }
    virtual ZvRef<T> previous() { return elementAs<T>(iterator->previous()); }
    virtual std::int32_t nextIndex() const { return iterator->nextIndex(); }
    virtual std::int32_t previousIndex() const { return iterator->previousIndex(); }

private:
    ZvRef<CZvConstListIterator> iterator;
};

template <typename T>
class CZvObjectListIterator : public CZvObjectConstListIterator<T> {
public:
    explicit CZvObjectListIterator(ZvRef<CZvListIterator> iterator)
        : CZvObjectConstListIterator<T>(iterator), iterator(std::move(iterator)) {}

    virtual void remove() { iterator->remove(); }
    virtual void add(Borrowed<T> element) { iterator->add(element.unknown()); }
    virtual void set(Borrowed<T> element) { iterator->set(element.unknown()); }

private:
    ZvRef<CZvListIterator> iterator;
};

// What a range-based for loop over a facade moves: the element it stands at, taken from an iterator
// of the collection. Read turns the plain element into what the loop sees.
template <typename Element, Element (*Read)(ZvRef<IZvUnknown>)>
class ElementCursor {
public:
    explicit ElementCursor(ZvRef<CZvConstIterator> iterator) : iterator(std::move(iterator)) {
        ++*this;
    }

    const Element& operator*() const { return element; }
    ElementCursor& operator++() {
        atEnd = !iterator->hasNext();
        element = atEnd ? Element{} : Read(iterator->next());
        return *this;
    }
    bool operator==(std::default_sentinel_t) const { return atEnd; }

private:
    ZvRef<CZvConstIterator> iterator;
    Element element{};
    bool atEnd = false;
};

} // namespace ZVCL

#endif
