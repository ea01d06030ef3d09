// The typed facade of maps.
//
//     CZvObjectMap<CZvString, CZvGuid> ids(makeRef<CZvHashMap>());
//     ids.put(name, id);
//     for (const auto& [name, id] : ids)
//         show(name->view(), *id);
//
// A facade shares ownership of its map and may stand anywhere, on the stack too. The rules of
// util/map.h hold; one thread at a time. Keys are taken for K and values for V as util/element.h
// says.
#ifndef ZVSUPPORT_UTIL_OBJECT_MAP_H
#define ZVSUPPORT_UTIL_OBJECT_MAP_H

#include "util/map.h"
#include "util/object_collection.h"

namespace ZVCL {

template <typename K, typename V>
class CZvObjectMap : public CZvObject {
public:
    struct Pair {
        ZvRef<K> key;
        ZvRef<V> value;
    };

    // Throws EZvIllegalState for null.
    explicit CZvObjectMap(ZvRef<CZvMap> map) : map(wrapped(std::move(map))) {}

    // The map's own; another facade stands for what it wraps.
    std::int32_t compareTo(const CZvObject& other) const override {
        return map->compareTo(unwrap(other));
    }
    bool equals(const CZvObject& other) const override { return map->equals(unwrap(other)); }
    std::uint32_t hashCode() const override { return map->hashCode(); }

    virtual void clear() { map->clear(); }
    virtual bool containsKey(Borrowed<K> key) const { return map->containsKey(key.unknown()); }
    virtual bool containsValue(Borrowed<V> value) const {
        return map->containsValue(value.unknown());
    }
    virtual ZvRef<CZvObjectSet<CZvMapEntry>> createConstEntrySet() const {
        return makeRef<CZvObjectSet<CZvMapEntry>>(constMap().createConstEntrySet());
    }
    virtual ZvRef<CZvObjectSet<CZvMapEntry>> createEntrySet() {
        return makeRef<CZvObjectSet<CZvMapEntry>>(map->createEntrySet());
    }
    virtual ZvRef<CZvObjectSet<K>> createConstKeySet() const {
        return makeRef<CZvObjectSet<K>>(constMap().createConstKeySet());
    }
    virtual ZvRef<CZvObjectSet<K>> createKeySet() {
        return makeRef<CZvObjectSet<K>>(map->createKeySet());
    }
    virtual ZvRef<CZvObjectCollection<V>> createConstValues() const {
        return makeRef<CZvObjectCollection<V>>(constMap().createConstValues());
    }
    virtual ZvRef<CZvObjectCollection<V>> createValues() {
        return makeRef<CZvObjectCollection<V>>(map->createValues());
    }
    virtual ZvRef<V> get(Borrowed<K> key) const { return elementAs<V>(map->get(key.unknown())); }
    virtual std::int32_t getSize() const { return map->getSize(); }
    virtual bool isEmpty() const { return getSize() == 0; }
    virtual ZvRef<V> put(Borrowed<K> key, Borrowed<V> value) {
        return elementAs<V>(map->put(key.unknown(), value.unknown()));
    }
    virtual void putAll(const CZvObjectMap& other) { map->putAll(*other.map); }
    virtual ZvRef<V> remove(Borrowed<K> key) { return elementAs<V>(map->remove(key.unknown())); }

    // For range-based for loops, which see a const Pair& each time.
    auto begin() const {
        return ElementCursor<Pair, &readPair>(
            constMap().createConstEntrySet()->createConstIterator());
    }
    std::default_sentinel_t end() const { return {}; }

    // What is wrapped; it lives at least as long as the facade.
    CZvMap& getMap() const noexcept { return *map; }

private:
    const CZvMap& constMap() const { return *map; }
    static Pair readPair(ZvRef<IZvUnknown> element) {
        const ZvRef<CZvMapEntry> entry = elementAs<CZvMapEntry>(std::move(element));
        return {elementAs<K>(entry->getKey()), elementAs<V>(entry->getValue())};
    }
    static const CZvObject& unwrap(const CZvObject& other) {
        const auto* facade = dynamic_cast<const CZvObjectMap*>(&other);
        const auto* object =
            facade != nullptr ? dynamic_cast<const CZvObject*>(facade->map.get()) : nullptr;
        return object != nullptr ? *object : other;
    }

    ZvRef<CZvMap> map;
};

} // namespace ZVCL

#endif
