// The base of maps: every operation on top of the set of entries; the views of keys and values.
//
// One thread at a time.
#ifndef ZVSUPPORT_UTIL_ABSTRACT_MAP_H
#define ZVSUPPORT_UTIL_ABSTRACT_MAP_H

#include "util/abstract_collection.h"
#include "util/map.h"

namespace ZVCL {

// A subclass implements createEntrySet and createConstEntrySet, and put where pairs can be added.
// What is inherited walks the entries. Views share ownership of their map, so a map lives on the
// heap and whoever uses it holds a reference: makeRef<CZvHashMap>().
class CZvAbstractMap : public CZvObject, public virtual CZvMap {
public:
    CZvAbstractMap(const CZvAbstractMap&) = delete;
    CZvAbstractMap& operator=(const CZvAbstractMap&) = delete;

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override;
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return CZvObject::AddRef(); }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return CZvObject::Release(); }

    void clear() override;
    bool containsKey(IZvUnknown* key) const override;
    bool containsValue(IZvUnknown* value) const override;
    ZvRef<CZvSet> createConstKeySet() const override;
    ZvRef<CZvSet> createKeySet() override;
    ZvRef<CZvCollection> createConstValues() const override;
    ZvRef<CZvCollection> createValues() override;
    ZvRef<IZvUnknown> get(IZvUnknown* key) const override;
    std::int32_t getSize() const override;
    ZvRef<IZvUnknown> put(IZvUnknown* key, IZvUnknown* value) override; // EZvUnsupportedOperation
    // Puts every pair that `map` has when the call begins; it may be this map.
    void putAll(const CZvMap& map) override;
    ZvRef<IZvUnknown> remove(IZvUnknown* key) override;

    // By this map's pairs in its own order: the first value that differs from the other map's under
    // the same key decides, a missing key counting as null; then the difference of the sizes.
    // Throws EZvCastFailed when the other object is no CZvMap.
    std::int32_t compareTo(const CZvObject& other) const override;
    // Whether the other object is a CZvMap with the same keys and equal values.
    bool equals(const CZvObject& other) const override;
    std::uint32_t hashCode() const override; // the sum of the entries' own

    // Never null; they live as long as the map.
    IZvComparator& getKeyComparator() const noexcept { return *keyComparator; }
    IZvComparator& getValueComparator() const noexcept { return *valueComparator; }

    // Structural changes so far, wrapping round.
    std::int32_t getModCount() const noexcept { return modCount; }

protected:
    // Takes a reference on each comparator; null stands for the default one.
    explicit CZvAbstractMap(IZvComparator* keyComparator = nullptr,
                            IZvComparator* valueComparator = nullptr);
    ~CZvAbstractMap() override = default;

    void countChange() noexcept {
        modCount = static_cast<std::int32_t>(static_cast<std::uint32_t>(modCount) + 1);
    }
    bool isSameKey(IZvUnknown* left, IZvUnknown* right) const {
        return compareBy(*keyComparator, left, right) == 0;
    }
    bool isSameValue(IZvUnknown* left, IZvUnknown* right) const {
        return compareBy(*valueComparator, left, right) == 0;
    }

private:
    ZvRef<IZvComparator> keyComparator;
    ZvRef<IZvComparator> valueComparator;
    std::int32_t modCount = 0;
};

// The live view of a map's keys, compared by its key comparator.
class CZvAbstractMapKeySet final : public CZvAbstractSet {
public:
    explicit CZvAbstractMapKeySet(CZvAbstractMap& map); // shares ownership of the map

    bool contains(IZvUnknown* key) const override;
    ZvRef<CZvIterator> createIterator() override;
    ZvRef<CZvConstIterator> createConstIterator() const override;
    std::int32_t getSize() const override;

private:
    class CZvKeySetIterator;

    ~CZvAbstractMapKeySet() override = default;

    ZvRef<CZvAbstractMap> map;
};

// The live view of a map's values, compared by its value comparator.
class CZvAbstractMapValueCollection final : public CZvAbstractCollection {
public:
    explicit CZvAbstractMapValueCollection(CZvAbstractMap& map); // shares ownership of the map

    bool contains(IZvUnknown* value) const override;
    ZvRef<CZvIterator> createIterator() override;
    ZvRef<CZvConstIterator> createConstIterator() const override;
    std::int32_t getSize() const override;

private:
    class CZvValueCollectionIterator;

    ~CZvAbstractMapValueCollection() override = default;

    ZvRef<CZvAbstractMap> map;
};

} // namespace ZVCL

#endif
