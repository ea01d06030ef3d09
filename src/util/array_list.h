// The list over one block of references: get, set and append take the same short time at any size.
//
// The rules of util/collection.h and util/list.h hold; one thread at a time.
#ifndef ZVSUPPORT_UTIL_ARRAY_LIST_H
#define ZVSUPPORT_UTIL_ARRAY_LIST_H

#include "util/abstract_list.h"

#include <cstddef>
#include <vector>

namespace ZVCL {

// Null elements are allowed. A list that cannot grow throws std::bad_alloc (or what the
// allocation-failure handler throws) and has not changed.
class CZvArrayList final : public CZvAbstractList {
public:
    CZvArrayList() = default; // empty, without a block, with the default comparator

    // Appends. Not counted as a structural change: iterators go on and meet the element at the end.
    bool add(IZvUnknown* element) override;
    bool add(std::int32_t index, IZvUnknown* element) override;
    using CZvAbstractList::addAll;
    // Moves the later elements once, however many are inserted; counts a change for each.
    bool addAll(std::int32_t index, const CZvCollection& collection) override;
    void clear() override;
    ZvRef<IZvUnknown> removeAt(std::int32_t index) override;
    ZvRef<IZvUnknown> get(std::int32_t index) const override;
    ZvRef<IZvUnknown> set(std::int32_t index, IZvUnknown* element) override;
    std::int32_t getSize() const override { return static_cast<std::int32_t>(elements.size()); }

    // Elements that fit the block. It doubles when it is full and never shrinks.
    std::int32_t getCapacity() const { return static_cast<std::int32_t>(elements.capacity()); }

private:
    class Iterator;

    ~CZvArrayList() override = default;

    ZvRef<CZvListIterator> makeIterator(std::int32_t index) override;
    void makeRoom(std::size_t added);

    std::vector<ZvRef<IZvUnknown>> elements;
};

} // namespace ZVCL

#endif
