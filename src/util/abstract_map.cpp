#include "util/abstract_map.h"

#include "util/element.h"

#include <utility>
#include <vector>

namespace ZVCL {

namespace {

// A walk over entries. Throws EZvCastFailed for an element that is none.
template <typename Iterator>
class EntryWalk {
public:
    explicit EntryWalk(ZvRef<Iterator> entries) : entries(std::move(entries)) {}

    bool hasNext() { return entries->hasNext(); }
    ZvRef<CZvMapEntry> next() {
        const ZvRef<IZvUnknown> element = entries->next();
        CZvMapEntry* entry = cast(element.get());
        if (entry == nullptr)
            throw EZvCastFailed();
        return ZvRef<CZvMapEntry>::share(entry);
    }
    void remove() { entries->remove(); }

private:
    ZvRef<Iterator> entries;
    RepeatedCast<CZvMapEntry> cast;
};

EntryWalk<CZvConstIterator> entriesOf(const CZvMap& map) {
    return EntryWalk(map.createConstEntrySet()->createConstIterator());
}

// An iterator over a part of each entry.
class EntryPartIterator : public CZvComObject, public virtual CZvIterator {
public:
    explicit EntryPartIterator(ZvRef<CZvIterator> entries) : entries(std::move(entries)) {}

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override {
        return CZvComObject::QueryInterface(iid, object);
    }
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return CZvComObject::AddRef(); }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return CZvComObject::Release(); }

    bool hasNext() override { return entries.hasNext(); }
    void remove() override { entries.remove(); }

protected:
    EntryWalk<CZvIterator> entries;
};

} // namespace

class CZvAbstractMapKeySet::CZvKeySetIterator final : public EntryPartIterator {
public:
    using EntryPartIterator::EntryPartIterator;
    ZvRef<IZvUnknown> next() override { return entries.next()->getKey(); }
};

class CZvAbstractMapValueCollection::CZvValueCollectionIterator final : public EntryPartIterator {
public:
    using EntryPartIterator::EntryPartIterator;
    ZvRef<IZvUnknown> next() override { return entries.next()->getValue(); }
};

// ---------------------------------------------------------------------------------------------
// CZvAbstractMap

CZvAbstractMap::CZvAbstractMap(IZvComparator* keyComparator, IZvComparator* valueComparator)
    : keyComparator(comparatorOrDefault(keyComparator)),
      valueComparator(comparatorOrDefault(valueComparator)) {}

ResultCode CZvAbstractMap::QueryInterface(const ZvIid& iid, void** object) {
    return CZvObject::QueryInterface(iid, object);
}

void CZvAbstractMap::clear() {
    createEntrySet()->clear();
}

bool CZvAbstractMap::containsKey(IZvUnknown* key) const {
    auto entries = entriesOf(*this);
    while (entries.hasNext()) {
        if (isSameKey(entries.next()->getKey().get(), key))
            return true;
    }
    return false;
}

bool CZvAbstractMap::containsValue(IZvUnknown* value) const {
    auto entries = entriesOf(*this);
    while (entries.hasNext()) {
        if (isSameValue(entries.next()->getValue().get(), value))
            return true;
    }
    return false;
}

ZvRef<CZvSet> CZvAbstractMap::createConstKeySet() const {
    return makeRef<CZvAbstractMapKeySet>(const_cast<CZvAbstractMap&>(*this));
}

ZvRef<CZvSet> CZvAbstractMap::createKeySet() {
    return makeRef<CZvAbstractMapKeySet>(*this);
}

ZvRef<CZvCollection> CZvAbstractMap::createConstValues() const {
    return makeRef<CZvAbstractMapValueCollection>(const_cast<CZvAbstractMap&>(*this));
}

ZvRef<CZvCollection> CZvAbstractMap::createValues() {
    return makeRef<CZvAbstractMapValueCollection>(*this);
}

ZvRef<IZvUnknown> CZvAbstractMap::get(IZvUnknown* key) const {
    auto entries = entriesOf(*this);
    while (entries.hasNext()) {
        const ZvRef<CZvMapEntry> entry = entries.next();
        if (isSameKey(entry->getKey().get(), key))
            return entry->getValue();
    }
    return nullptr;
}

std::int32_t CZvAbstractMap::getSize() const {
    return createConstEntrySet()->getSize();
}

ZvRef<IZvUnknown> CZvAbstractMap::put(IZvUnknown*, IZvUnknown*) {
    throw EZvUnsupportedOperation();
}

void CZvAbstractMap::putAll(const CZvMap& map) {
    for (const ZvRef<IZvUnknown>& element : elementsOf(*map.createConstEntrySet())) {
        const ZvRef<CZvMapEntry> entry = elementAs<CZvMapEntry>(element);
        if (!entry)
            throw EZvCastFailed();
        (void)put(entry->getKey().get(), entry->getValue().get());
    }
}

ZvRef<IZvUnknown> CZvAbstractMap::remove(IZvUnknown* key) {
    EntryWalk entries(createEntrySet()->createIterator());
    while (entries.hasNext()) {
        const ZvRef<CZvMapEntry> entry = entries.next();
        if (isSameKey(entry->getKey().get(), key)) {
            ZvRef<IZvUnknown> value = entry->getValue();
            entries.remove();
            return value;
        }
    }
    return nullptr;
}

std::int32_t CZvAbstractMap::compareTo(const CZvObject& other) const {
    if (this == &other)
        return 0;
    const auto* map = dynamic_cast<const CZvMap*>(&other);
    if (map == nullptr)
        throw EZvCastFailed();
    auto entries = entriesOf(*this);
    while (entries.hasNext()) {
        const ZvRef<CZvMapEntry> entry = entries.next();
        const ZvRef<IZvUnknown> key = entry->getKey();
        const ZvRef<IZvUnknown> value = entry->getValue();
        const ZvRef<IZvUnknown> others = map->get(key.get());
        if (value) {
            if (const std::int32_t order = compareBy(*valueComparator, value.get(), others.get()))
                return order;
        } else if (others) {
            return -1;
        } else if (!map->containsKey(key.get())) {
            return 1;
        }
    }
    return getSize() - map->getSize();
}

bool CZvAbstractMap::equals(const CZvObject& other) const {
    if (this == &other)
        return true;
    const auto* map = dynamic_cast<const CZvMap*>(&other);
    return map != nullptr && map->getSize() == getSize() && compareTo(other) == 0;
}

std::uint32_t CZvAbstractMap::hashCode() const {
    std::uint32_t hash = 0;
    auto entries = entriesOf(*this);
    while (entries.hasNext())
        hash += entries.next()->hashCode();
    return hash;
}

// ---------------------------------------------------------------------------------------------
// The views

CZvAbstractMapKeySet::CZvAbstractMapKeySet(CZvAbstractMap& map)
    : CZvAbstractSet(&map.getKeyComparator()), map(ZvRef<CZvAbstractMap>::share(&map)) {}

bool CZvAbstractMapKeySet::contains(IZvUnknown* key) const {
    return map->containsKey(key);
}

ZvRef<CZvIterator> CZvAbstractMapKeySet::createIterator() {
    return makeRef<CZvKeySetIterator>(map->createEntrySet()->createIterator());
}

ZvRef<CZvConstIterator> CZvAbstractMapKeySet::createConstIterator() const {
    return makeRef<CZvKeySetIterator>(map->createEntrySet()->createIterator());
}

std::int32_t CZvAbstractMapKeySet::getSize() const {
    return map->getSize();
}

CZvAbstractMapValueCollection::CZvAbstractMapValueCollection(CZvAbstractMap& map)
    : CZvAbstractCollection(&map.getValueComparator()), map(ZvRef<CZvAbstractMap>::share(&map)) {}

bool CZvAbstractMapValueCollection::contains(IZvUnknown* value) const {
    return map->containsValue(value);
}

ZvRef<CZvIterator> CZvAbstractMapValueCollection::createIterator() {
    return makeRef<CZvValueCollectionIterator>(map->createEntrySet()->createIterator());
}

ZvRef<CZvConstIterator> CZvAbstractMapValueCollection::createConstIterator() const {
    return makeRef<CZvValueCollectionIterator>(map->createEntrySet()->createIterator());
}

std::int32_t CZvAbstractMapValueCollection::getSize() const {
    return map->getSize();
}

} // namespace ZVCL
