#include "util/array_list.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>
#include <utility>

namespace ZVCL {

// Reads the block without asking the list.
class CZvArrayList::Iterator final : public CZvAbstractListIterator {
public:
    Iterator(CZvArrayList& list, std::int32_t index)
        : CZvAbstractListIterator(list, index), list(list) {}

    bool hasNext() override { return nextIndex() < list.getSize(); }

private:
    ZvRef<IZvUnknown> stepForward() override { return list.get(nextIndex()); }
    ZvRef<IZvUnknown> stepBack() override { return list.get(previousIndex()); }

    const CZvArrayList& list; // the base shares its ownership
};

bool CZvArrayList::add(IZvUnknown* element) {
    makeRoom(1);
    elements.push_back(ZvRef<IZvUnknown>::share(element));
    return true;
}

bool CZvArrayList::add(std::int32_t index, IZvUnknown* element) {
    checkPosition(index, getSize());
    makeRoom(1);
    elements.insert(elements.begin() + index, ZvRef<IZvUnknown>::share(element));
    countChange();
    return true;
}

bool CZvArrayList::addAll(std::int32_t index, const CZvCollection& collection) {
    checkPosition(index, getSize());
    std::vector<ZvRef<IZvUnknown>> added = elementsOf(collection);
    makeRoom(added.size());
    elements.insert(elements.begin() + index, std::make_move_iterator(added.begin()),
                    std::make_move_iterator(added.end()));
    for (std::size_t i = 0; i < added.size(); ++i)
        countChange();
    return !added.empty();
}

void CZvArrayList::clear() {
    // One by one, from the end: an element's destructor may look at the list.
    while (!elements.empty())
        (void)CZvArrayList::removeAt(getSize() - 1);
    countChange();
}

ZvRef<IZvUnknown> CZvArrayList::removeAt(std::int32_t index) {
    checkElement(index, getSize());
    const auto place = elements.begin() + index;
    ZvRef<IZvUnknown> removed = std::move(*place);
    elements.erase(place);
    countChange();
    return removed;
}

ZvRef<IZvUnknown> CZvArrayList::get(std::int32_t index) const {
    checkElement(index, getSize());
    return elements[static_cast<std::size_t>(index)];
}

ZvRef<IZvUnknown> CZvArrayList::set(std::int32_t index, IZvUnknown* element) {
    checkElement(index, getSize());
    countChange();
    return std::exchange(elements[static_cast<std::size_t>(index)],
                         ZvRef<IZvUnknown>::share(element));
}

ZvRef<CZvListIterator> CZvArrayList::makeIterator(std::int32_t index) {
    return makeRef<Iterator>(*this, index);
}

void CZvArrayList::makeRoom(std::size_t added) {
    const std::size_t size = elements.size();
    if (elements.capacity() - size >= added)
        return;
    const std::size_t most =
        std::min<std::size_t>(elements.max_size(), std::numeric_limits<std::int32_t>::max());
    if (added > most - size)
        throw std::bad_alloc();
    elements.reserve(std::min(most, size + std::max(size, added)));
}

} // namespace ZVCL
