// The hash map: buckets of chained entries, more of them as the map grows.
//
// The rules of util/map.h hold; one thread at a time.
#ifndef ZVSUPPORT_UTIL_HASH_MAP_H
#define ZVSUPPORT_UTIL_HASH_MAP_H

#include "util/abstract_map.h"

#include <memory>
#include <utility>

namespace ZVCL {

// A pair and its place in a chain. Entries of a map do not differ to those who compare or hash
// them.
class CZvHashMapEntry final : public CZvComObject, public virtual CZvMapEntry {
public:
    CZvHashMapEntry(IZvUnknown* key, IZvUnknown* value, std::uint32_t hash,
                    ZvRef<CZvHashMapEntry> next)
        : key(ZvRef<IZvUnknown>::share(key)),
          value(ZvRef<IZvUnknown>::share(value)),
          hash(hash),
          next(std::move(next)) {}

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override;
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return CZvComObject::AddRef(); }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return CZvComObject::Release(); }

    std::int32_t compareTo(const CZvObject&) const override { return 0; }
    bool equals(const CZvObject&) const override { return true; }
    ZvRef<IZvUnknown> getKey() const override { return key; }
    ZvRef<IZvUnknown> getValue() const override { return value; }
    std::uint32_t hashCode() const override { return 0; }
    ZvRef<IZvUnknown> setValue(IZvUnknown* newValue) override;

private:
    friend class CZvHashMap;
    friend class CZvHashMapIterator;

    ZvRef<IZvUnknown> key;
    ZvRef<IZvUnknown> value;
    std::uint32_t hash; // of the key
    ZvRef<CZvHashMapEntry> next;
};

// Finding, putting and removing a key cost its hash and a walk along one chain, in which only keys
// of the same hash are compared. Walks visit the highest bucket first and the youngest entry of a
// bucket first. Removing or adding a key is a structural change; replacing a value is none.
//
// A comparator or an allocation that fails leaves the map as it was.
class CZvHashMap final : public CZvAbstractMap {
public:
    static constexpr std::int32_t kDefaultCapacity = 101;
    static constexpr float kDefaultLoadFactor = 0.75F;

    // The capacity is the number of buckets; when the entries reach capacity * loadFactor, a new
    // key makes it 2 * capacity + 1. Throws EZvRangeError for a capacity below 1 and for a load
    // factor that makes that threshold less than 1. Null comparators stand for the default one.
    explicit CZvHashMap(std::int32_t initialCapacity = kDefaultCapacity,
                        float loadFactor = kDefaultLoadFactor);
    CZvHashMap(IZvComparator* keyComparator, IZvComparator* valueComparator,
               std::int32_t initialCapacity = kDefaultCapacity,
               float loadFactor = kDefaultLoadFactor);

    void clear() override; // keeps the number of buckets
    bool containsKey(IZvUnknown* key) const override;
    bool containsValue(IZvUnknown* value) const override;
    ZvRef<CZvSet> createConstEntrySet() const override;
    ZvRef<CZvSet> createEntrySet() override;
    ZvRef<IZvUnknown> get(IZvUnknown* key) const override;
    std::int32_t getSize() const override { return count; }
    ZvRef<IZvUnknown> put(IZvUnknown* key, IZvUnknown* value) override;
    ZvRef<IZvUnknown> remove(IZvUnknown* key) override;

    std::int32_t getCapacity() const noexcept { return capacity; } // buckets
    std::int32_t getThreshold() const noexcept { return threshold; }

private:
    friend class CZvHashMapEntrySet;
    friend class CZvHashMapIterator;
    using Table = std::unique_ptr<ZvRef<CZvHashMapEntry>[]>;

    ~CZvHashMap() override;

    std::uint32_t hashOf(IZvUnknown* key) const { return hashBy(getKeyComparator(), key); }
    ZvRef<CZvHashMapEntry>& bucketOf(std::uint32_t hash) const {
        return table[hash % static_cast<std::uint32_t>(capacity)];
    }
    bool matches(const CZvHashMapEntry& entry, IZvUnknown* key, std::uint32_t hash) const {
        return entry.hash == hash && isSameKey(entry.key.get(), key);
    }
    CZvHashMapEntry* find(IZvUnknown* key, std::uint32_t hash) const; // null: not there
    bool containsPair(const CZvMapEntry& pair) const;
    void grow();
    // Takes the entry out that `link`, a bucket or an entry's next, refers to.
    ZvRef<CZvHashMapEntry> unlink(ZvRef<CZvHashMapEntry>& link);
    void removeEntry(const CZvHashMapEntry& entry);
    // Tells the processor what a walk along the buckets, from the last one down, will meet soon:
    // entries and what they hold lie anywhere, and the walk would wait for each of them.
    static void lookAhead(const Table& table, std::int32_t bucket) noexcept;
    static void releaseAll(Table table, std::int32_t capacity) noexcept;

    float loadFactor;
    std::int32_t count = 0;
    std::int32_t capacity;
    std::int32_t threshold;
    Table table;
};

// The live view of a map's entries. Entries are found by key and value, and removed by being the
// same object.
class CZvHashMapEntrySet final : public CZvAbstractSet {
public:
    explicit CZvHashMapEntrySet(CZvHashMap& map); // shares ownership of the map

    // Whether the map has that key with an equal value. Throws EZvCastFailed for an object that is
    // no CZvMapEntry.
    bool contains(IZvUnknown* entry) const override;
    ZvRef<CZvIterator> createIterator() override;
    ZvRef<CZvConstIterator> createConstIterator() const override;
    std::int32_t getSize() const override { return map->getSize(); }

private:
    ~CZvHashMapEntrySet() override = default;

    ZvRef<CZvHashMap> map;
};

class CZvHashMapIterator final : public CZvComObject, public virtual CZvIterator {
public:
    enum class Kind { keys, values, entries };

    CZvHashMapIterator(CZvHashMap& map, Kind kind); // shares ownership of the map

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override;
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return CZvComObject::AddRef(); }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return CZvComObject::Release(); }

    bool hasNext() override;
    ZvRef<IZvUnknown> next() override;
    void remove() override;

private:
    void checkCount() const;

    ZvRef<CZvHashMap> map;
    std::int32_t expectedModCount;
    Kind kind;
    std::int32_t bucket; // the last one visited, or the capacity
    // Not owned: as long as the counts agree, the map has both.
    CZvHashMapEntry* nextEntry = nullptr;
    CZvHashMapEntry* lastReturned = nullptr;
};

} // namespace ZVCL

#endif
