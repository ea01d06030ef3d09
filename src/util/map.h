// The interface of maps: values under keys that are all different.
//
// A map holds one reference on each key and each value; both may be null. It has a comparator for
// keys and one for values; a failing one ends an operation with EZvResultException and its code.
//
// Nothing here locks: one thread at a time uses a map with its views and iterators. Views and
// iterators keep their map alive, so a map must be held by a reference itself.
#ifndef ZVSUPPORT_UTIL_MAP_H
#define ZVSUPPORT_UTIL_MAP_H

#include "util/collection.h"

namespace ZVCL {

// A pair of a map. It may outlive its place in the map for as long as somebody holds it.
class CZvMapEntry : public virtual CZvInterface {
public:
    virtual std::int32_t compareTo(const CZvObject& other) const = 0;
    virtual bool equals(const CZvObject& other) const = 0;
    virtual ZvRef<IZvUnknown> getKey() const = 0;
    virtual ZvRef<IZvUnknown> getValue() const = 0;
    virtual std::uint32_t hashCode() const = 0;
    // Answers the value before. No structural change: iterators go on.
    virtual ZvRef<IZvUnknown> setValue(IZvUnknown* value) = 0;

protected:
    ~CZvMapEntry() = default;
};

class CZvMap : public virtual CZvInterface {
public:
    virtual void clear() = 0;
    virtual std::int32_t compareTo(const CZvObject& other) const = 0;
    virtual bool containsKey(IZvUnknown* key) const = 0;
    virtual bool containsValue(IZvUnknown* value) const = 0;
    // Live views of the entries (each one a CZvMapEntry), the keys and the values: removing from a
    // view removes from the map; adding to one throws EZvUnsupportedOperation. The const variants
    // give the same objects and tell what the caller means to do.
    virtual ZvRef<CZvSet> createConstEntrySet() const = 0;
    virtual ZvRef<CZvSet> createEntrySet() = 0;
    virtual ZvRef<CZvSet> createConstKeySet() const = 0;
    virtual ZvRef<CZvSet> createKeySet() = 0;
    virtual ZvRef<CZvCollection> createConstValues() const = 0;
    virtual ZvRef<CZvCollection> createValues() = 0;
    virtual bool equals(const CZvObject& other) const = 0;
    // The value under the key; null when there is none, and when that is the value.
    virtual ZvRef<IZvUnknown> get(IZvUnknown* key) const = 0;
    virtual std::int32_t getSize() const = 0; // entries
    virtual std::uint32_t hashCode() const = 0;
    // Stores the value under the key and answers the value before, null when there was none. A key
    // that is there already stays the object it was. Throws EZvUnsupportedOperation where pairs
    // cannot be added.
    virtual ZvRef<IZvUnknown> put(IZvUnknown* key, IZvUnknown* value) = 0;
    virtual void putAll(const CZvMap& map) = 0;
    // Removes the entry and answers its value, null when there was none.
    virtual ZvRef<IZvUnknown> remove(IZvUnknown* key) = 0;

protected:
    ~CZvMap() = default;
};

} // namespace ZVCL

#endif
