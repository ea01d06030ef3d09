#include "util/abstract_collection.h"

namespace ZVCL {

CZvAbstractCollection::CZvAbstractCollection(IZvComparator* comparator)
    : comparator(comparatorOrDefault(comparator)) {}

ResultCode CZvAbstractCollection::QueryInterface(const ZvIid& iid, void** object) {
    return CZvObject::QueryInterface(iid, object);
}

bool CZvAbstractCollection::add(IZvUnknown*) {
    throw EZvUnsupportedOperation();
}

bool CZvAbstractCollection::addAll(const CZvCollection& collection) {
    bool changed = false;
    for (const ZvRef<IZvUnknown>& element : elementsOf(collection))
        changed |= add(element.get());
    return changed;
}

void CZvAbstractCollection::clear() {
    const ZvRef<CZvIterator> iterator = createIterator();
    while (iterator->hasNext()) {
        (void)iterator->next();
        iterator->remove();
    }
}

std::int32_t CZvAbstractCollection::compareTo(const CZvObject& other) const {
    return CZvObject::compareTo(other);
}

bool CZvAbstractCollection::contains(IZvUnknown* element) const {
    const ZvRef<CZvConstIterator> iterator = createConstIterator();
    while (iterator->hasNext()) {
        if (isEqual(iterator->next().get(), element))
            return true;
    }
    return false;
}

bool CZvAbstractCollection::containsAll(const CZvCollection& collection) const {
    const ZvRef<CZvConstIterator> iterator = collection.createConstIterator();
    while (iterator->hasNext()) {
        if (!contains(iterator->next().get()))
            return false;
    }
    return true;
}

bool CZvAbstractCollection::equals(const CZvObject& other) const {
    return CZvObject::equals(other);
}

std::uint32_t CZvAbstractCollection::hashCode() const {
    return CZvObject::hashCode();
}

bool CZvAbstractCollection::remove(IZvUnknown* element) {
    const ZvRef<CZvIterator> iterator = createIterator();
    while (iterator->hasNext()) {
        if (isEqual(iterator->next().get(), element)) {
            iterator->remove();
            return true;
        }
    }
    return false;
}

bool CZvAbstractCollection::removeAll(const CZvCollection& collection) {
    bool changed = false;
    for (const ZvRef<IZvUnknown>& element : elementsOf(collection))
        changed |= remove(element.get());
    return changed;
}

bool CZvAbstractCollection::retainAll(const CZvCollection& collection) {
    bool changed = false;
    const ZvRef<CZvIterator> iterator = createIterator();
    while (iterator->hasNext()) {
        if (!collection.contains(iterator->next().get())) {
            iterator->remove();
            changed = true;
        }
    }
    return changed;
}

std::vector<ZvRef<IZvUnknown>> elementsOf(const CZvCollection& collection) {
    std::vector<ZvRef<IZvUnknown>> elements;
    const ZvRef<CZvConstIterator> iterator = collection.createConstIterator();
    while (iterator->hasNext())
        elements.push_back(iterator->next());
    return elements;
}

} // namespace ZVCL
