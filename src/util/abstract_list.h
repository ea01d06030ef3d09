// The base of lists: every operation on top of add, removeAt, get and set at an index and a size;
// its iterator and its sub-list.
//
// Lists count their structural changes. An iterator or a sub-list that meets a count that it did
// not make itself throws EZvException, without a message. One thread at a time.
#ifndef ZVSUPPORT_UTIL_ABSTRACT_LIST_H
#define ZVSUPPORT_UTIL_ABSTRACT_LIST_H

#include "util/abstract_collection.h"
#include "util/list.h"

namespace ZVCL {

// A subclass implements add, removeAt, get and set at an index and getSize, and calls countChange()
// once in each of the first two and in set.
class CZvAbstractList : public CZvAbstractCollection, public virtual CZvList {
public:
    using CZvAbstractCollection::remove;

    bool add(IZvUnknown* element) override; // appends through a list iterator
    bool add(std::int32_t index, IZvUnknown* element) override = 0;
    using CZvAbstractCollection::addAll;
    bool addAll(std::int32_t index, const CZvCollection& collection) override;

    ZvRef<CZvIterator> createIterator() override;
    ZvRef<CZvConstIterator> createConstIterator() const override;
    ZvRef<CZvListIterator> createListIterator(std::int32_t index) override;
    ZvRef<CZvConstListIterator> createConstListIterator(std::int32_t index) const override;
    ZvRef<CZvList> subList(std::int32_t from, std::int32_t to) override;
    ZvRef<CZvList> constSubList(std::int32_t from, std::int32_t to) const override;
    std::int32_t indexOf(IZvUnknown* element) const override;
    std::int32_t lastIndexOf(IZvUnknown* element) const override;

    // By the elements in turn, as this list's comparator orders them; a list comes before its own
    // continuation. Throws EZvCastFailed when the other object is no CZvList.
    std::int32_t compareTo(const CZvObject& other) const override;
    // Whether the other object is a CZvList of the same size and equal elements.
    bool equals(const CZvObject& other) const override;
    std::uint32_t hashCode() const override; // from the elements' hashes and their order

    // Structural changes so far, wrapping round.
    std::int32_t getModCount() const noexcept { return modCount; }

protected:
    using CZvAbstractCollection::CZvAbstractCollection;
    ~CZvAbstractList() override = default;

    void countChange() noexcept { countUp(modCount); }
    static void countUp(std::int32_t& count) noexcept {
        count = static_cast<std::int32_t>(static_cast<std::uint32_t>(count) + 1);
    }
    // Throw EZvRangeError unless 0 <= index < size (<= size).
    static void checkElement(std::int32_t index, std::int32_t size);
    static void checkPosition(std::int32_t index, std::int32_t size);
    // What the iterator creations answer; the index is in its range.
    virtual ZvRef<CZvListIterator> makeIterator(std::int32_t index);

private:
    friend class CZvAbstractListIterator;
    friend class CZvAbstractListSubList;

    // Throws EZvException for a view whose list has changed behind it.
    virtual void checkForChange() const {}
    // For iterators and views, which may come from a list that the caller only reads.
    CZvAbstractList& self() const { return const_cast<CZvAbstractList&>(*this); }

    std::int32_t modCount = 0;
};

// Keeps its place as an index. A list with a quicker way to its elements derives an iterator that
// overrides the protected operations and inherits the rules.
class CZvAbstractListIterator : public CZvComObject, public virtual CZvListIterator {
public:
    // Shares ownership of the list; 0 <= index <= its size.
    CZvAbstractListIterator(CZvAbstractList& list, std::int32_t index);

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override;
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return CZvComObject::AddRef(); }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return CZvComObject::Release(); }

    bool hasNext() override { return cursor < list->getSize(); }
    ZvRef<IZvUnknown> next() override;
    bool hasPrevious() override { return cursor > 0; }
    ZvRef<IZvUnknown> previous() override;
    std::int32_t nextIndex() const override { return cursor; }
    std::int32_t previousIndex() const override { return cursor - 1; }
    void remove() override;
    void add(IZvUnknown* element) override;
    void set(IZvUnknown* element) override;

protected:
    // What the public operations do to the list, after they have checked its count; here by index.
    // Each answers or throws as the list's own operation does.
    virtual ZvRef<IZvUnknown> stepForward() { return list->get(cursor); }
    virtual ZvRef<IZvUnknown> stepBack() { return list->get(cursor - 1); }
    virtual void removeReturned() { (void)list->removeAt(lastReturned); }
    virtual bool insert(IZvUnknown* element) { return list->add(cursor, element); }
    virtual void replaceReturned(IZvUnknown* element) { (void)list->set(lastReturned, element); }

    // Whether the element last returned lies in front of the iterator (next() gave it) or behind.
    bool returnedByNext() const noexcept { return lastReturned < cursor; }

private:
    void checkCount() const;
    void checkReturned() const;

    ZvRef<CZvAbstractList> list;
    std::int32_t expectedModCount;
    std::int32_t cursor;            // index of the next element
    std::int32_t lastReturned = -1; // -1: none
};

// The view of the elements [offset, offset + size) of another list, which may be a view itself.
class CZvAbstractListSubList final : public CZvAbstractList {
public:
    // Shares ownership of the list. Throws EZvRangeError unless 0 <= from <= to <= its size.
    CZvAbstractListSubList(CZvAbstractList& backing, std::int32_t from, std::int32_t to);

    using CZvAbstractList::add;
    bool add(std::int32_t index, IZvUnknown* element) override;
    using CZvAbstractList::addAll;
    bool addAll(std::int32_t index, const CZvCollection& collection) override;
    ZvRef<IZvUnknown> removeAt(std::int32_t index) override;
    ZvRef<IZvUnknown> get(std::int32_t index) const override;
    ZvRef<IZvUnknown> set(std::int32_t index, IZvUnknown* element) override;
    std::int32_t getSize() const override;

private:
    class CZvSubListIterator;

    ~CZvAbstractListSubList() override = default;

    ZvRef<CZvListIterator> makeIterator(std::int32_t index) override;
    void checkForChange() const override;
    // Counts one change of the backing list that was made through this view.
    void changed(std::int32_t growth) noexcept;

    ZvRef<CZvAbstractList> backing;
    std::int32_t expectedModCount;
    std::int32_t offset;
    std::int32_t size = 0;
};

} // namespace ZVCL

#endif
