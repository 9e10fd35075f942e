#pragma once

#include "NameTable.h"
#include "NumberedText.h"
#include "Workload.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace db2bench {

/// The floor: what one would write by hand for just these nodes and nothing else. One allocation a node with the values
/// as plain members, links inside it, one table for all names. It checks that names are unique among siblings and keeps
/// destroyed nodes until the commit, as the library does; it has no types, checks, locks, references, undo or handles.
class FloorTree
{
public:
    struct Item
    {
        Item* owner = nullptr; ///< the parent
        Item* first = nullptr;
        Item* last = nullptr;
        Item* previous = nullptr;
        Item* next = nullptr;
        std::uint32_t hash = 0;
        bool destroyed = false; ///< out of the tree
        std::string name;       ///< short enough to need no memory of its own, as is s
        float f0 = 0;
        float f1 = 0;
        int i = 0;
        bool b = false;
        std::string s;
        std::array<float, 3> v{};
        std::array<float, 16> m{};
        std::array<float, 4> c{};
    };

    // --- What every side of the tree benchmarks has ---

    static constexpr const char* kSide = "floor";
    using Character = char;
    using NodeRef = Item*;

    FloorTree() = default;
    FloorTree(const FloorTree&) = delete;
    FloorTree& operator=(const FloorTree&) = delete;
    ~FloorTree() { clear(); }

    NodeRef root() { return &root_; }
    static NodeRef parentOf(NodeRef node) { return node->owner; }
    static std::string_view nameOf(NodeRef node) { return node->name; }

    /// Null when the name is taken.
    NodeRef create(NodeRef parent, const NumberedText<char>& name) { return create(parent, name.view()); }
    NodeRef create(NodeRef parent, std::string_view name)
    {
        const std::uint32_t hash = Names::hashOf(name);
        if (names_.find(parent, name, hash) != nullptr)
            return nullptr;
        auto* const item = new Item;
        item->owner = parent;
        item->hash = hash;
        item->name = name;
        putIn(*item, nullptr);
        return item;
    }

    bool write(NodeRef node, const Values<char>& values)
    {
        node->f0 = values.f0;
        node->f1 = values.f1;
        node->i = values.i;
        node->b = values.b;
        node->s = values.s.view();
        node->v = values.v;
        node->m = values.m;
        node->c = values.c;
        return true;
    }

    bool writeF0(NodeRef node, float value)
    {
        node->f0 = value;
        return true;
    }

    [[nodiscard]] static bool holds(NodeRef node, const Values<char>& values)
    {
        return node->f0 == values.f0 && node->f1 == values.f1 && node->i == values.i && node->b == values.b &&
               node->s == values.s.view() && node->v == values.v && node->m == values.m && node->c == values.c;
    }

    /// @param name  with a null character behind it, which this side does not need.
    [[nodiscard]] NodeRef find(NodeRef parent, std::string_view name) const
    {
        return names_.find(parent, name, Names::hashOf(name));
    }

    /// Calls @p see with f0 of every node below the root, parents first.
    template <class See>
    void visit(See see) const
    {
        const Item* item = root_.first;
        while (item != nullptr)
        {
            see(item->f0);
            if (item->first != nullptr)
            {
                item = item->first;
                continue;
            }
            while (item != &root_ && item->next == nullptr)
                item = item->owner;
            item = item->next; // the root's is null
        }
    }

    /// Destroys every node below the root on its own, leaves first, then frees them.
    bool destroyAll()
    {
        Item* item = leftmostLeaf(&root_);
        while (item != &root_)
        {
            Item* const next = item->next != nullptr ? leftmostLeaf(item->next) : item->owner;
            takeOut(*item);
            destroyed_.push_back(item);
            item = next;
        }
        for (Item* const destroyed : destroyed_)
            delete destroyed;
        destroyed_.clear();
        return true;
    }

    /// Frees every node below the root at once.
    bool clear()
    {
        Item* item = leftmostLeaf(&root_);
        while (item != &root_)
        {
            Item* const next = item->next != nullptr ? leftmostLeaf(item->next) : item->owner;
            delete item;
            item = next;
        }
        root_.first = nullptr;
        root_.last = nullptr;
        names_.clear();
        return true;
    }

protected:
    [[nodiscard]] static Item* leftmostLeaf(Item* item)
    {
        while (item->first != nullptr)
            item = item->first;
        return item;
    }

    /// Links the item under its owner, in front of @p next, last for null.
    void putIn(Item& item, Item* next)
    {
        Item& parent = *item.owner;
        item.destroyed = false;
        item.next = next;
        item.previous = next != nullptr ? next->previous : parent.last;
        (item.previous != nullptr ? item.previous->next : parent.first) = &item;
        (next != nullptr ? next->previous : parent.last) = &item;
        names_.enter(&item);
    }

    /// Unlinks a leaf; its owner stays known.
    void takeOut(Item& item)
    {
        names_.remove(&item);
        (item.previous != nullptr ? item.previous->next : item.owner->first) = item.next;
        (item.next != nullptr ? item.next->previous : item.owner->last) = item.previous;
        item.destroyed = true;
    }

private:
    using Names = NameTable<Item>;

    Item root_;
    Names names_;
    std::vector<Item*> destroyed_;
};

} // namespace db2bench
