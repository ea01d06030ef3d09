// Typed facades of collections and sets.
//
//     CZvObjectList<CZvString> names(makeRef<CZvArrayList>());
//     names.add(makeRef<CZvString>(u"Ada"));
//     for (const ZvRef<CZvString>& name : names)
//         show(name->view());
//
// A facade shares ownership of its collection and may stand anywhere, on the stack too. The rules
// of util/collection.h hold; one thread at a time. Elements are taken for T as util/element.h says.
#ifndef ZVSUPPORT_UTIL_OBJECT_COLLECTION_H
#define ZVSUPPORT_UTIL_OBJECT_COLLECTION_H

#include "util/collection.h"
#include "util/object_iterator.h"

namespace ZVCL {

template <typename T>
class CZvObjectCollection : public CZvObject {
public:
    // Throws EZvIllegalState for null.
    explicit CZvObjectCollection(ZvRef<CZvCollection> collection)
        : collection(wrapped(std::move(collection))) {}

    // The collection's own; another facade stands for what it wraps.
    std::int32_t compareTo(const CZvObject& other) const override {
        return collection->compareTo(unwrap(other));
    }
    bool equals(const CZvObject& other) const override { return collection->equals(unwrap(other)); }
    std::uint32_t hashCode() const override { return collection->hashCode(); }

    virtual bool add(Borrowed<T> element) { return collection->add(element.unknown()); }
    virtual bool contains(Borrowed<T> element) const {
        return collection->contains(element.unknown());
    }
    virtual bool remove(Borrowed<T> element) { return collection->remove(element.unknown()); }
    virtual bool addAll(const CZvObjectCollection& other) {
        return collection->addAll(*other.collection);
    }
    virtual void clear() { collection->clear(); }
    virtual ZvRef<CZvObjectIterator<T>> createIterator() {
        return makeRef<CZvObjectIterator<T>>(collection->createIterator());
    }
    virtual ZvRef<CZvObjectConstIterator<T>> createConstIterator() const {
        return makeRef<CZvObjectConstIterator<T>>(constCollection().createConstIterator());
    }
    virtual std::int32_t getSize() const { return collection->getSize(); }
    virtual bool isEmpty() const { return getSize() == 0; }
    virtual bool removeAll(const CZvObjectCollection& other) {
        return collection->removeAll(*other.collection);
    }
    virtual bool retainAll(const CZvObjectCollection& other) {
        return collection->retainAll(*other.collection);
    }

    // For range-based for loops, which see a const ZvRef<T>& each time. A facade that a call gave
    // must be held in a variable: such a loop keeps no reference to what it walks.
    auto begin() const {
        return ElementCursor<ZvRef<T>, &elementAs<T>>(constCollection().createConstIterator());
    }
    std::default_sentinel_t end() const { return {}; }

    // What is wrapped; it lives at least as long as the facade.
    CZvCollection& getCollection() const noexcept { return *collection; }

private:
    const CZvCollection& constCollection() const { return *collection; }
    static const CZvObject& unwrap(const CZvObject& other) {
        const auto* facade = dynamic_cast<const CZvObjectCollection*>(&other);
        const auto* object =
            facade != nullptr ? dynamic_cast<const CZvObject*>(facade->collection.get()) : nullptr;
        return object != nullptr ? *object : other;
    }

    ZvRef<CZvCollection> collection;
};

template <typename T>
class CZvObjectSet : public CZvObjectCollection<T> {
public:
    explicit CZvObjectSet(ZvRef<CZvSet> set) : CZvObjectCollection<T>(std::move(set)) {}
};

} // namespace ZVCL

#endif
