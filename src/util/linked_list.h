// The list of linked nodes: appending, and inserting or removing at an iterator, take the same
// short time at any size; an index is walked to from the first node.
//
// The rules of util/collection.h and util/list.h hold; one thread at a time.
#ifndef ZVSUPPORT_UTIL_LINKED_LIST_H
#define ZVSUPPORT_UTIL_LINKED_LIST_H

#include "util/abstract_list.h"

namespace ZVCL {

// Null elements are allowed. Its iterators keep their place, so a walk costs a step per element; an
// iterator at the end is made without a walk. A node that cannot be made throws std::bad_alloc (or
// what the allocation-failure handler throws) and the list has not changed.
class CZvLinkedList final : public CZvAbstractList {
public:
    // Empty. Takes a reference on the comparator; null stands for the default one.
    explicit CZvLinkedList(IZvComparator* comparator = nullptr) : CZvAbstractList(comparator) {}

    // Appends. Not counted as a structural change: iterators go on and meet the element at the end.
    bool add(IZvUnknown* element) override;
    bool add(std::int32_t index, IZvUnknown* element) override;
    void clear() override;
    ZvRef<IZvUnknown> removeAt(std::int32_t index) override;
    ZvRef<IZvUnknown> get(std::int32_t index) const override;
    ZvRef<IZvUnknown> set(std::int32_t index, IZvUnknown* element) override;
    std::int32_t getSize() const override { return count; }

private:
    struct Node {
        Node* next;
        Node* prev;
        ZvRef<IZvUnknown> element;
    };
    class Iterator;

    ~CZvLinkedList() override;

    ZvRef<CZvListIterator> makeIterator(std::int32_t index) override;
    // The node at 0 <= index <= count; the sentinel at count, without a walk.
    Node* nodeAt(std::int32_t index) const;
    void insertBefore(Node* node, IZvUnknown* element);
    ZvRef<IZvUnknown> unlink(Node* node); // deletes the node
    void unlinkAll() noexcept;

    // The sentinel that closes the circle: its next is the first node, its prev the last one.
    Node head{&head, &head, nullptr};
    std::int32_t count = 0;
};

} // namespace ZVCL

#endif
