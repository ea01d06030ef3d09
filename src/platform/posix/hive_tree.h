// The registry in memory: keys and values in name order, one heap block each.
//
// Not synchronised. Names are compared by compareFolded; a node's address is its identity until it
// is removed.
#ifndef ZVSUPPORT_PLATFORM_POSIX_HIVE_TREE_H
#define ZVSUPPORT_PLATFORM_POSIX_HIVE_TREE_H

#include "platform/posix/hive_fold.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

namespace zv::platform::posix {

inline constexpr std::size_t kMaxKeyName = 255;     // units of one component
inline constexpr std::size_t kMaxValueName = 16383; // units
inline constexpr std::size_t kMaxKeyDepth = 512;    // components below the root

// What a node needs to be in a NodeTree; the name follows the node in its block.
template <typename Node>
struct TreeNode {
    Node* left = nullptr;
    Node* right = nullptr;
    Node* up = nullptr;
    std::uint32_t count = 1; // nodes of this sub-tree, itself included
    std::uint16_t nameLength = 0;

    std::u16string_view name() const {
        return {reinterpret_cast<const char16_t*>(static_cast<const Node*>(this) + 1), nameLength};
    }
};

// A treap: balanced by priorities that are made from the nodes' addresses, so that they take no
// room. Inserting beyond the last node, what loading a sorted file does, compares one name.
// Operations take O(log n) and cannot fail.
template <typename Node>
class NodeTree {
public:
    std::size_t size() const { return count(root); }

    Node* find(std::u16string_view name) const {
        Node* node = root;
        while (node != nullptr) {
            const int order = compareFolded(name, node->name());
            if (order == 0)
                return node;
            node = order < 0 ? node->left : node->right;
        }
        return nullptr;
    }

    // Does the name come after all that are here? Cheaper than find().
    bool isBeyondLast(std::u16string_view name) const {
        return root == nullptr || compareFolded(name, rightmost(root)->name()) > 0;
    }

    // The index-th node in name order; null beyond the last.
    Node* at(std::size_t index) const {
        Node* node = root;
        while (node != nullptr) {
            const std::size_t before = count(node->left);
            if (index == before)
                return node;
            if (index < before) {
                node = node->left;
            } else {
                index -= before + 1;
                node = node->right;
            }
        }
        return nullptr;
    }

    Node* first() const { return root != nullptr ? leftmost(root) : nullptr; }
    static Node* next(Node* node) {
        if (node->right != nullptr)
            return leftmost(node->right);
        while (node->up != nullptr && node->up->right == node)
            node = node->up;
        return node->up;
    }

    // The tree takes over a node that is in no tree and whose name it does not have yet.
    void insert(Node* node) {
        if (root == nullptr) {
            root = node;
            return;
        }
        Node* parent = rightmost(root);
        Node** slot = &parent->right;
        if (compareFolded(node->name(), parent->name()) < 0) {
            slot = &root;
            while (*slot != nullptr) {
                parent = *slot;
                slot = compareFolded(node->name(), parent->name()) < 0 ? &parent->left
                                                                       : &parent->right;
            }
        }
        *slot = node;
        node->up = parent;
        for (Node* above = parent; above != nullptr; above = above->up)
            ++above->count;
        while (node->up != nullptr && priority(node->up) < priority(node))
            rotateUp(node);
    }

    // Takes a node out; it is the caller's then.
    void remove(Node* node) {
        while (node->left != nullptr && node->right != nullptr)
            rotateUp(priority(node->left) < priority(node->right) ? node->right : node->left);
        Node* child = node->left != nullptr ? node->left : node->right;
        if (child != nullptr)
            child->up = node->up;
        slotOf(node) = child;
        for (Node* above = node->up; above != nullptr; above = above->up)
            --above->count;
        node->left = node->right = node->up = nullptr;
        node->count = 1;
    }

    // Empties the tree; dispose gets every node.
    template <typename Dispose>
    void clear(Dispose dispose) {
        Node* node = root;
        root = nullptr;
        while (node != nullptr) {
            if (node->left != nullptr) {
                node = node->left;
            } else if (node->right != nullptr) {
                node = node->right;
            } else {
                Node* parent = node->up;
                if (parent != nullptr)
                    (parent->left == node ? parent->left : parent->right) = nullptr;
                dispose(node);
                node = parent;
            }
        }
    }

private:
    static std::uint32_t count(const Node* node) { return node != nullptr ? node->count : 0; }
    static Node* leftmost(Node* node) {
        while (node->left != nullptr)
            node = node->left;
        return node;
    }
    static Node* rightmost(Node* node) {
        while (node->right != nullptr)
            node = node->right;
        return node;
    }
    static std::uint64_t priority(const Node* node) {
        std::uint64_t mixed = reinterpret_cast<std::uintptr_t>(node) >> 4;
        mixed *= 0x9E3779B97F4A7C15u;
        mixed ^= mixed >> 32;
        return mixed * 0xD6E8FEB86659FD93u;
    }
    Node*& slotOf(Node* node) {
        if (node->up == nullptr)
            return root;
        return node->up->left == node ? node->up->left : node->up->right;
    }
    void rotateUp(Node* node) {
        Node* parent = node->up;
        slotOf(parent) = node;
        node->up = parent->up;
        Node*& inner = parent->left == node ? node->right : node->left;
        (parent->left == node ? parent->left : parent->right) = inner;
        if (inner != nullptr)
            inner->up = parent;
        inner = parent;
        parent->up = node;
        node->count = parent->count;
        parent->count = 1 + count(parent->left) + count(parent->right);
    }

    Node* root = nullptr;
};

// A value: name and data follow in the same block.
struct Value : TreeNode<Value> {
    std::uint32_t type = 0;
    std::uint32_t size = 0; // bytes of data

    const unsigned char* data() const {
        return reinterpret_cast<const unsigned char*>(this + 1) + 2 * std::size_t{nameLength};
    }
    unsigned char* data() { return const_cast<unsigned char*>(std::as_const(*this).data()); }
};

// A key: its name, as it was first spelled, follows in the same block.
struct Key : TreeNode<Key> {
    Key* parent = nullptr; // null for a root
    NodeTree<Key> children;
    NodeTree<Value> values;
};

template <typename Node>
Node* makeNode(std::u16string_view name, std::size_t dataSize) {
    void* block = ::operator new(sizeof(Node) + 2 * name.size() + dataSize);
    Node* node = ::new (block) Node;
    node->nameLength = static_cast<std::uint16_t>(name.size());
    if (!name.empty())
        std::memcpy(static_cast<void*>(node + 1), name.data(), 2 * name.size());
    return node;
}

struct NodeDeleter {
    void operator()(Value* value) const { ::operator delete(value); }
    void operator()(Key* key) const { // with all that is below it
        key->values.clear(*this);
        key->children.clear(*this);
        ::operator delete(key);
    }
};
using UniqueValue = std::unique_ptr<Value, NodeDeleter>;
using UniqueKey = std::unique_ptr<Key, NodeDeleter>;

// Throw std::bad_alloc. name is within its limit; data may be null when size is 0. padding zero
// bytes follow the data and count as theirs.
inline UniqueValue makeValue(std::u16string_view name, std::uint32_t type, const void* data,
                             std::uint32_t size, std::uint32_t padding = 0) {
    UniqueValue value(makeNode<Value>(name, std::size_t{size} + padding));
    value->type = type;
    value->size = size + padding;
    if (size != 0)
        std::memcpy(value->data(), data, size);
    std::memset(value->data() + size, 0, padding);
    return value;
}
inline UniqueKey makeKey(std::u16string_view name) {
    return UniqueKey(makeNode<Key>(name, 0));
}

// Puts a key below another.
inline Key* adopt(Key* parent, UniqueKey child) {
    child->parent = parent;
    parent->children.insert(child.get());
    return child.release();
}

// The root keys, in the order in which a hive is written.
inline constexpr std::u16string_view kRootNames[] = {u"HKEY_CLASSES_ROOT", u"HKEY_CURRENT_USER",
                                                     u"HKEY_LOCAL_MACHINE", u"HKEY_USERS",
                                                     u"HKEY_CURRENT_CONFIG"};
inline constexpr std::uint32_t kRootValues[] = {0x80000000, 0x80000001, 0x80000002, 0x80000003,
                                                0x80000005};
inline constexpr std::size_t kRootCount = 5;

class KeyTree {
public:
    KeyTree() {
        for (std::size_t i = 0; i < kRootCount; ++i)
            roots[i] = makeKey(kRootNames[i]);
    }

    Key* root(std::size_t index) const { return roots[index].get(); }
    // Null when there is no root of that name.
    Key* findRoot(std::u16string_view name) const {
        for (const UniqueKey& key : roots) {
            if (compareFolded(key->name(), name) == 0)
                return key.get();
        }
        return nullptr;
    }
    // The key with the same path as a key of another tree, or null.
    Key* counterpart(const Key* other) const {
        if (other->parent == nullptr)
            return findRoot(other->name());
        Key* parent = counterpart(other->parent);
        return parent != nullptr ? parent->children.find(other->name()) : nullptr;
    }

private:
    UniqueKey roots[kRootCount];
};

// Cuts the first component off path, passing over empty ones; empty when there is none left.
inline std::u16string_view takeComponent(std::u16string_view& path) {
    while (!path.empty() && path.front() == u'\\')
        path.remove_prefix(1);
    const std::u16string_view component = path.substr(0, path.find(u'\\'));
    path.remove_prefix(component.size());
    return component;
}

inline std::size_t depthOf(const Key* key) {
    std::size_t depth = 0;
    for (; key->parent != nullptr; key = key->parent)
        ++depth;
    return depth;
}

} // namespace zv::platform::posix

#endif
