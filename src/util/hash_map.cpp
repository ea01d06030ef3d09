#include "util/hash_map.h"

#include "util/element.h"

#include <limits>
#include <new>
#include <utility>

namespace ZVCL {

namespace {

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();

std::int32_t thresholdOf(std::int32_t capacity, float loadFactor) {
    const double threshold = static_cast<double>(capacity) * static_cast<double>(loadFactor);
    if (capacity < 1 || !(threshold >= 1))
        throw EZvRangeError();
    return threshold < kMost ? static_cast<std::int32_t>(threshold) : kMost;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// CZvHashMapEntry

ResultCode CZvHashMapEntry::QueryInterface(const ZvIid& iid, void** object) {
    return CZvComObject::QueryInterface(iid, object);
}

ZvRef<IZvUnknown> CZvHashMapEntry::setValue(IZvUnknown* newValue) {
    return std::exchange(value, ZvRef<IZvUnknown>::share(newValue));
}

// ---------------------------------------------------------------------------------------------
// CZvHashMap

CZvHashMap::CZvHashMap(std::int32_t initialCapacity, float loadFactor)
    : CZvHashMap(nullptr, nullptr, initialCapacity, loadFactor) {}

CZvHashMap::CZvHashMap(IZvComparator* keyComparator, IZvComparator* valueComparator,
                       std::int32_t initialCapacity, float loadFactor)
    : CZvAbstractMap(keyComparator, valueComparator),
      loadFactor(loadFactor),
      capacity(initialCapacity),
      threshold(thresholdOf(initialCapacity, loadFactor)),
      table(new ZvRef<CZvHashMapEntry>[static_cast<std::size_t>(initialCapacity)]) {}

CZvHashMap::~CZvHashMap() {
    releaseAll(std::move(table), capacity);
}

void CZvHashMap::clear() {
    Table dropped(new ZvRef<CZvHashMapEntry>[static_cast<std::size_t>(capacity)]);
    std::swap(table, dropped);
    count = 0;
    countChange();
    releaseAll(std::move(dropped), capacity);
}

bool CZvHashMap::containsKey(IZvUnknown* key) const {
    return find(key, hashOf(key)) != nullptr;
}

bool CZvHashMap::containsValue(IZvUnknown* value) const {
    for (std::int32_t bucket = capacity - 1; bucket >= 0; --bucket) {
        for (const auto* entry = table[bucket].get(); entry != nullptr; entry = entry->next.get()) {
            if (isSameValue(entry->value.get(), value))
                return true;
        }
    }
    return false;
}

ZvRef<CZvSet> CZvHashMap::createConstEntrySet() const {
    return makeRef<CZvHashMapEntrySet>(const_cast<CZvHashMap&>(*this));
}

ZvRef<CZvSet> CZvHashMap::createEntrySet() {
    return makeRef<CZvHashMapEntrySet>(*this);
}

ZvRef<IZvUnknown> CZvHashMap::get(IZvUnknown* key) const {
    const CZvHashMapEntry* entry = find(key, hashOf(key));
    return entry != nullptr ? entry->value : nullptr;
}

ZvRef<IZvUnknown> CZvHashMap::put(IZvUnknown* key, IZvUnknown* value) {
    const std::uint32_t hash = hashOf(key);
    if (CZvHashMapEntry* entry = find(key, hash))
        return entry->setValue(value);

    // Whatever can fail comes first.
    if (count == kMost)
        throw std::bad_alloc();
    ZvRef<CZvHashMapEntry> added = makeRef<CZvHashMapEntry>(key, value, hash, nullptr);
    if (count >= threshold)
        grow();
    ZvRef<CZvHashMapEntry>& bucket = bucketOf(hash);
    added->next = std::move(bucket);
    bucket = std::move(added);
    ++count;
    countChange();
    return nullptr;
}

ZvRef<IZvUnknown> CZvHashMap::remove(IZvUnknown* key) {
    const std::uint32_t hash = hashOf(key);
    for (auto* link = &bucketOf(hash); *link; link = &(*link)->next) {
        if (matches(**link, key, hash))
            return unlink(*link)->value;
    }
    return nullptr;
}

CZvHashMapEntry* CZvHashMap::find(IZvUnknown* key, std::uint32_t hash) const {
    for (auto* entry = bucketOf(hash).get(); entry != nullptr; entry = entry->next.get()) {
        if (matches(*entry, key, hash))
            return entry;
    }
    return nullptr;
}

bool CZvHashMap::containsPair(const CZvMapEntry& pair) const {
    const ZvRef<IZvUnknown> key = pair.getKey();
    const CZvHashMapEntry* entry = find(key.get(), hashOf(key.get()));
    return entry != nullptr && isSameValue(entry->value.get(), pair.getValue().get());
}

void CZvHashMap::grow() {
    if (capacity > (kMost - 1) / 2)
        return; // the chains grow instead
    const std::int32_t newCapacity = 2 * capacity + 1;
    const std::int32_t newThreshold = thresholdOf(newCapacity, loadFactor);
    Table old(new ZvRef<CZvHashMapEntry>[static_cast<std::size_t>(newCapacity)]);
    std::swap(table, old);
    const std::int32_t oldCapacity = std::exchange(capacity, newCapacity);
    threshold = newThreshold;
    for (std::int32_t i = oldCapacity - 1; i >= 0; --i) {
        lookAhead(old, i);
        ZvRef<CZvHashMapEntry> rest = std::move(old[i]);
        while (rest) {
            ZvRef<CZvHashMapEntry> entry = std::move(rest);
            rest = std::move(entry->next);
            ZvRef<CZvHashMapEntry>& bucket = bucketOf(entry->hash);
            entry->next = std::move(bucket);
            bucket = std::move(entry);
        }
    }
}

ZvRef<CZvHashMapEntry> CZvHashMap::unlink(ZvRef<CZvHashMapEntry>& link) {
    ZvRef<CZvHashMapEntry> entry = std::move(link);
    link = std::move(entry->next);
    --count;
    countChange();
    return entry;
}

void CZvHashMap::removeEntry(const CZvHashMapEntry& entry) {
    auto* link = &bucketOf(entry.hash);
    while (link->get() != &entry)
        link = &(*link)->next;
    (void)unlink(*link);
}

void CZvHashMap::lookAhead(const Table& table, std::int32_t bucket) noexcept {
    constexpr std::int32_t partsAhead = 8;
    constexpr std::int32_t entryAhead = 20;
    if (bucket < entryAhead)
        return;
    __builtin_prefetch(table[bucket - entryAhead].get());
    if (const CZvHashMapEntry* entry = table[bucket - partsAhead].get()) {
        __builtin_prefetch(entry->key.get());
        __builtin_prefetch(entry->value.get());
    }
}

void CZvHashMap::releaseAll(Table table, std::int32_t capacity) noexcept {
    for (std::int32_t i = capacity - 1; i >= 0; --i) {
        lookAhead(table, i);
        // One by one: entries that released each other would need a stack as deep as the chain.
        ZvRef<CZvHashMapEntry> entry = std::move(table[i]);
        while (entry)
            entry = std::move(entry->next);
    }
}

// ---------------------------------------------------------------------------------------------
// CZvHashMapEntrySet

CZvHashMapEntrySet::CZvHashMapEntrySet(CZvHashMap& map) : map(ZvRef<CZvHashMap>::share(&map)) {}

bool CZvHashMapEntrySet::contains(IZvUnknown* entry) const {
    const auto* pair = dynamic_cast<const CZvMapEntry*>(entry);
    if (pair == nullptr)
        throw EZvCastFailed();
    return map->containsPair(*pair);
}

ZvRef<CZvIterator> CZvHashMapEntrySet::createIterator() {
    return makeRef<CZvHashMapIterator>(*map, CZvHashMapIterator::Kind::entries);
}

ZvRef<CZvConstIterator> CZvHashMapEntrySet::createConstIterator() const {
    return makeRef<CZvHashMapIterator>(*map, CZvHashMapIterator::Kind::entries);
}

// ---------------------------------------------------------------------------------------------
// CZvHashMapIterator

CZvHashMapIterator::CZvHashMapIterator(CZvHashMap& map, Kind kind)
    : map(ZvRef<CZvHashMap>::share(&map)),
      expectedModCount(map.getModCount()),
      kind(kind),
      bucket(map.capacity) {}

ResultCode CZvHashMapIterator::QueryInterface(const ZvIid& iid, void** object) {
    return CZvComObject::QueryInterface(iid, object);
}

bool CZvHashMapIterator::hasNext() {
    while (nextEntry == nullptr && bucket > 0) {
        nextEntry = map->table[--bucket].get();
        CZvHashMap::lookAhead(map->table, bucket);
    }
    return nextEntry != nullptr;
}

ZvRef<IZvUnknown> CZvHashMapIterator::next() {
    checkCount();
    if (!CZvHashMapIterator::hasNext())
        throw EZvException();
    lastReturned = nextEntry;
    nextEntry = nextEntry->next.get();
    switch (kind) {
    case Kind::keys:
        return lastReturned->key;
    case Kind::values:
        return lastReturned->value;
    case Kind::entries:
        break;
    }
    return ZvRef<IZvUnknown>::share(asUnknown(lastReturned));
}

void CZvHashMapIterator::remove() {
    checkCount();
    if (lastReturned == nullptr)
        throw EZvIllegalState();
    expectedModCount = static_cast<std::int32_t>(static_cast<std::uint32_t>(expectedModCount) + 1);
    map->removeEntry(*std::exchange(lastReturned, nullptr));
}

void CZvHashMapIterator::checkCount() const {
    if (expectedModCount != map->getModCount())
        throw EZvException();
}

} // namespace ZVCL
