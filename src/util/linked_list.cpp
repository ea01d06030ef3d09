#include "util/linked_list.h"

#include <limits>
#include <new>
#include <utility>

namespace ZVCL {

// Keeps the node in front of it (the sentinel at the beginning), because that node stays where it
// is when somebody appends behind the iterator's back.
class CZvLinkedList::Iterator final : public CZvAbstractListIterator {
public:
    Iterator(CZvLinkedList& list, std::int32_t index)
        : CZvAbstractListIterator(list, index), list(list), before(list.nodeAt(index)->prev) {}

private:
    ZvRef<IZvUnknown> stepForward() override {
        if (before->next == &list.head)
            throw EZvRangeError();
        before = before->next;
        return before->element;
    }
    ZvRef<IZvUnknown> stepBack() override {
        if (before == &list.head)
            throw EZvRangeError();
        return std::exchange(before, before->prev)->element;
    }
    void removeReturned() override {
        Node* node = returned();
        if (node == before)
            before = node->prev;
        list.countChange();
        (void)list.unlink(node);
    }
    bool insert(IZvUnknown* element) override {
        list.insertBefore(before->next, element);
        before = before->next;
        list.countChange();
        return true;
    }
    void replaceReturned(IZvUnknown* element) override {
        list.countChange();
        (void)std::exchange(returned()->element, ZvRef<IZvUnknown>::share(element));
    }

    Node* returned() const { return returnedByNext() ? before : before->next; }

    CZvLinkedList& list; // the base shares its ownership
    Node* before;
};

CZvLinkedList::~CZvLinkedList() {
    unlinkAll();
}

bool CZvLinkedList::add(IZvUnknown* element) {
    insertBefore(&head, element);
    return true;
}

bool CZvLinkedList::add(std::int32_t index, IZvUnknown* element) {
    checkPosition(index, count);
    insertBefore(nodeAt(index), element);
    countChange();
    return true;
}

void CZvLinkedList::clear() {
    countChange();
    unlinkAll();
}

ZvRef<IZvUnknown> CZvLinkedList::removeAt(std::int32_t index) {
    checkElement(index, count);
    countChange();
    return unlink(nodeAt(index));
}

ZvRef<IZvUnknown> CZvLinkedList::get(std::int32_t index) const {
    checkElement(index, count);
    return nodeAt(index)->element;
}

ZvRef<IZvUnknown> CZvLinkedList::set(std::int32_t index, IZvUnknown* element) {
    checkElement(index, count);
    countChange();
    return std::exchange(nodeAt(index)->element, ZvRef<IZvUnknown>::share(element));
}

ZvRef<CZvListIterator> CZvLinkedList::makeIterator(std::int32_t index) {
    return makeRef<Iterator>(*this, index);
}

CZvLinkedList::Node* CZvLinkedList::nodeAt(std::int32_t index) const {
    auto* node = const_cast<Node*>(&head);
    if (index == count)
        return node;
    for (; index >= 0; --index)
        node = node->next;
    return node;
}

void CZvLinkedList::insertBefore(Node* node, IZvUnknown* element) {
    if (count == std::numeric_limits<std::int32_t>::max())
        throw std::bad_alloc();
    Node* added = new Node{node, node->prev, ZvRef<IZvUnknown>::share(element)};
    node->prev->next = added;
    node->prev = added;
    ++count;
}

ZvRef<IZvUnknown> CZvLinkedList::unlink(Node* node) {
    node->prev->next = node->next;
    node->next->prev = node->prev;
    --count;
    ZvRef<IZvUnknown> element = std::move(node->element);
    delete node;
    return element;
}

void CZvLinkedList::unlinkAll() noexcept {
    while (head.next != &head)
        (void)unlink(head.next);
}

} // namespace ZVCL
