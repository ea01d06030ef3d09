// The typed facade of lists; see util/object_collection.h.
//
// The rules of util/list.h hold; one thread at a time.
#ifndef ZVSUPPORT_UTIL_OBJECT_LIST_H
#define ZVSUPPORT_UTIL_OBJECT_LIST_H

#include "util/list.h"
#include "util/object_collection.h"

namespace ZVCL {

template <typename T>
class CZvObjectList : public CZvObjectCollection<T> {
public:
    // Throws EZvIllegalState for null.
    explicit CZvObjectList(ZvRef<CZvList> list)
        : CZvObjectCollection<T>(list), list(std::move(list)) {}

    using CZvObjectCollection<T>::add;
    using CZvObjectCollection<T>::addAll;

    virtual bool add(std::int32_t index, Borrowed<T> element) {
        return list->add(index, element.unknown());
    }
    virtual bool addAll(std::int32_t index, const CZvObjectCollection<T>& other) {
        return list->addAll(index, other.getCollection());
    }
    virtual ZvRef<T> removeAt(std::int32_t index) { return elementAs<T>(list->removeAt(index)); }
    virtual ZvRef<CZvObjectListIterator<T>> createListIterator(std::int32_t index) {
        return makeRef<CZvObjectListIterator<T>>(list->createListIterator(index));
    }
    virtual ZvRef<CZvObjectConstListIterator<T>> createConstListIterator(std::int32_t index) const {
        return makeRef<CZvObjectConstListIterator<T>>(list->createConstListIterator(index));
    }
    virtual ZvRef<CZvObjectList> subList(std::int32_t from, std::int32_t to) {
        return makeRef<CZvObjectList>(list->constSubList(from, to));
    }
    virtual ZvRef<CZvObjectList> constSubList(std::int32_t from, std::int32_t to) const {
        return makeRef<CZvObjectList>(list->constSubList(from, to));
    }
    virtual ZvRef<T> get(std::int32_t index) const { return elementAs<T>(list->get(index)); }
    virtual std::int32_t indexOf(Borrowed<T> element) const {
        return list->indexOf(element.unknown());
    }
    virtual std::int32_t lastIndexOf(Borrowed<T> element) const {
        return list->lastIndexOf(element.unknown());
    }
    virtual ZvRef<T> set(std::int32_t index, Borrowed<T> element) {
        return elementAs<T>(list->set(index, element.unknown()));
    }

private:
    ZvRef<CZvList> list;
};

} // namespace ZVCL

#endif
