#include "util/abstract_list.h"

namespace ZVCL {

// ---------------------------------------------------------------------------------------------
// CZvAbstractList

bool CZvAbstractList::add(IZvUnknown* element) {
    const std::int32_t size = getSize();
    const ZvRef<CZvListIterator> iterator = createListIterator(size);
    iterator->add(element);
    return iterator->nextIndex() != size;
}

bool CZvAbstractList::addAll(std::int32_t index, const CZvCollection& collection) {
    checkPosition(index, getSize());
    bool changed = false;
    for (const ZvRef<IZvUnknown>& element : elementsOf(collection)) {
        if (add(index, element.get())) {
            ++index;
            changed = true;
        }
    }
    return changed;
}

ZvRef<CZvIterator> CZvAbstractList::createIterator() {
    return createListIterator(0);
}

ZvRef<CZvConstIterator> CZvAbstractList::createConstIterator() const {
    return createConstListIterator(0);
}

ZvRef<CZvListIterator> CZvAbstractList::createListIterator(std::int32_t index) {
    checkPosition(index, getSize());
    return makeIterator(index);
}

ZvRef<CZvConstListIterator> CZvAbstractList::createConstListIterator(std::int32_t index) const {
    return self().createListIterator(index);
}

ZvRef<CZvList> CZvAbstractList::subList(std::int32_t from, std::int32_t to) {
    return makeRef<CZvAbstractListSubList>(*this, from, to);
}

ZvRef<CZvList> CZvAbstractList::constSubList(std::int32_t from, std::int32_t to) const {
    return self().subList(from, to);
}

std::int32_t CZvAbstractList::indexOf(IZvUnknown* element) const {
    const ZvRef<CZvConstListIterator> iterator = createConstListIterator(0);
    while (iterator->hasNext()) {
        if (isEqual(iterator->next().get(), element))
            return iterator->previousIndex();
    }
    return -1;
}

std::int32_t CZvAbstractList::lastIndexOf(IZvUnknown* element) const {
    const ZvRef<CZvConstListIterator> iterator = createConstListIterator(getSize());
    while (iterator->hasPrevious()) {
        if (isEqual(iterator->previous().get(), element))
            return iterator->nextIndex();
    }
    return -1;
}

std::int32_t CZvAbstractList::compareTo(const CZvObject& other) const {
    if (this == &other)
        return 0;
    const auto* list = dynamic_cast<const CZvList*>(&other);
    if (list == nullptr)
        throw EZvCastFailed();
    const ZvRef<CZvConstIterator> here = createConstIterator();
    const ZvRef<CZvConstIterator> there = list->createConstIterator();
    while (here->hasNext() && there->hasNext()) {
        const ZvRef<IZvUnknown> left = here->next();
        const ZvRef<IZvUnknown> right = there->next();
        if (const std::int32_t order = compareBy(getComparator(), left.get(), right.get()))
            return order;
    }
    return static_cast<std::int32_t>(here->hasNext()) - static_cast<std::int32_t>(there->hasNext());
}

bool CZvAbstractList::equals(const CZvObject& other) const {
    if (this == &other)
        return true;
    const auto* list = dynamic_cast<const CZvList*>(&other);
    return list != nullptr && list->getSize() == getSize() && compareTo(other) == 0;
}

std::uint32_t CZvAbstractList::hashCode() const {
    std::uint32_t hash = 1;
    const ZvRef<CZvConstIterator> iterator = createConstIterator();
    while (iterator->hasNext())
        hash = 38 * hash + hashBy(getComparator(), iterator->next().get());
    return hash;
}

void CZvAbstractList::checkElement(std::int32_t index, std::int32_t size) {
    if (index < 0 || index >= size)
        throw EZvRangeError();
}

void CZvAbstractList::checkPosition(std::int32_t index, std::int32_t size) {
    if (index < 0 || index > size)
        throw EZvRangeError();
}

ZvRef<CZvListIterator> CZvAbstractList::makeIterator(std::int32_t index) {
    return makeRef<CZvAbstractListIterator>(*this, index);
}

// ---------------------------------------------------------------------------------------------
// CZvAbstractListIterator

CZvAbstractListIterator::CZvAbstractListIterator(CZvAbstractList& list, std::int32_t index)
    : list(ZvRef<CZvAbstractList>::share(&list)), expectedModCount(list.modCount), cursor(index) {}

ResultCode CZvAbstractListIterator::QueryInterface(const ZvIid& iid, void** object) {
    return CZvComObject::QueryInterface(iid, object);
}

ZvRef<IZvUnknown> CZvAbstractListIterator::next() {
    checkCount();
    ZvRef<IZvUnknown> element = stepForward();
    lastReturned = cursor++;
    return element;
}

ZvRef<IZvUnknown> CZvAbstractListIterator::previous() {
    checkCount();
    ZvRef<IZvUnknown> element = stepBack();
    lastReturned = --cursor;
    return element;
}

void CZvAbstractListIterator::remove() {
    checkCount();
    checkReturned();
    removeReturned();
    if (returnedByNext())
        --cursor;
    lastReturned = -1;
    CZvAbstractList::countUp(expectedModCount);
}

void CZvAbstractListIterator::add(IZvUnknown* element) {
    checkCount();
    if (!insert(element))
        return;
    ++cursor;
    lastReturned = -1;
    CZvAbstractList::countUp(expectedModCount);
}

void CZvAbstractListIterator::set(IZvUnknown* element) {
    checkCount();
    checkReturned();
    replaceReturned(element);
    CZvAbstractList::countUp(expectedModCount);
}

void CZvAbstractListIterator::checkCount() const {
    if (expectedModCount != list->modCount)
        throw EZvException();
}

void CZvAbstractListIterator::checkReturned() const {
    if (lastReturned < 0)
        throw EZvIllegalState();
}

// ---------------------------------------------------------------------------------------------
// CZvAbstractListSubList

// Moves an iterator of the backing list within the view's bounds, so that a view of a linked list
// is walked as quickly as the list.
class CZvAbstractListSubList::CZvSubListIterator final : public CZvAbstractListIterator {
public:
    CZvSubListIterator(CZvAbstractListSubList& view, std::int32_t index)
        : CZvAbstractListIterator(view, index),
          view(view),
          inner(view.backing->createListIterator(view.offset + index)) {}

    bool hasNext() override { return nextIndex() < view.size; }

private:
    ZvRef<IZvUnknown> stepForward() override {
        view.checkForChange();
        checkElement(nextIndex(), view.size);
        return inner->next();
    }
    ZvRef<IZvUnknown> stepBack() override {
        view.checkForChange();
        checkElement(previousIndex(), view.size);
        return inner->previous();
    }
    void removeReturned() override {
        view.checkForChange();
        inner->remove();
        view.changed(-1);
    }
    bool insert(IZvUnknown* element) override {
        view.checkForChange();
        const std::int32_t before = inner->nextIndex();
        inner->add(element);
        if (inner->nextIndex() == before)
            return false;
        view.changed(1);
        return true;
    }
    void replaceReturned(IZvUnknown* element) override {
        view.checkForChange();
        inner->set(element);
        view.changed(0);
    }

    CZvAbstractListSubList& view; // the base shares its ownership
    ZvRef<CZvListIterator> inner;
};

CZvAbstractListSubList::CZvAbstractListSubList(CZvAbstractList& backing, std::int32_t from,
                                               std::int32_t to)
    : CZvAbstractList(&backing.getComparator()),
      backing(ZvRef<CZvAbstractList>::share(&backing)),
      expectedModCount(backing.modCount),
      offset(from) {
    checkPosition(to, backing.getSize());
    checkPosition(from, to);
    size = to - from;
}

bool CZvAbstractListSubList::add(std::int32_t index, IZvUnknown* element) {
    checkForChange();
    checkPosition(index, size);
    if (!backing->add(offset + index, element))
        return false;
    changed(1);
    return true;
}

bool CZvAbstractListSubList::addAll(std::int32_t index, const CZvCollection& collection) {
    checkForChange();
    checkPosition(index, size);
    const std::int32_t before = backing->getSize();
    const bool added = backing->addAll(offset + index, collection);
    for (std::int32_t count = backing->getSize() - before; count > 0; --count)
        changed(1);
    return added;
}

ZvRef<IZvUnknown> CZvAbstractListSubList::removeAt(std::int32_t index) {
    checkForChange();
    checkElement(index, size);
    ZvRef<IZvUnknown> removed = backing->removeAt(offset + index);
    changed(-1);
    return removed;
}

ZvRef<IZvUnknown> CZvAbstractListSubList::get(std::int32_t index) const {
    checkForChange();
    checkElement(index, size);
    return backing->get(offset + index);
}

ZvRef<IZvUnknown> CZvAbstractListSubList::set(std::int32_t index, IZvUnknown* element) {
    checkForChange();
    checkElement(index, size);
    ZvRef<IZvUnknown> replaced = backing->set(offset + index, element);
    changed(0);
    return replaced;
}

std::int32_t CZvAbstractListSubList::getSize() const {
    checkForChange();
    return size;
}

ZvRef<CZvListIterator> CZvAbstractListSubList::makeIterator(std::int32_t index) {
    return makeRef<CZvSubListIterator>(*this, index);
}

void CZvAbstractListSubList::checkForChange() const {
    backing->checkForChange();
    if (expectedModCount != backing->modCount)
        throw EZvException();
}

void CZvAbstractListSubList::changed(std::int32_t growth) noexcept {
    size += growth;
    countUp(expectedModCount);
    countChange();
}

} // namespace ZVCL
