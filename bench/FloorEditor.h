#pragma once

#include "FloorTree.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace db2bench {

/// The floor's side of the editing benchmarks (see EditingWorkloads.h): each unit of work is a vector of edits with what
/// takes them back, an observer goes through that vector, and a changed local value recomputes what stands below it.
class FloorEditor : public FloorTree
{
public:
    FloorEditor() = default;
    ~FloorEditor() { clearHistory(); }

    static bool isNode(NodeRef node) { return node != nullptr; }

    /// Null when the name is taken.
    NodeRef create(NodeRef parent, const NumberedText<char>& name, const Values<char>& values)
    {
        NodeRef const item = createEmpty(parent, name.view());
        if (item != nullptr)
            write(item, values);
        return item;
    }

    /// The same with values that are 0 and empty.
    NodeRef createEmpty(NodeRef parent, std::string_view name)
    {
        NodeRef const item = FloorTree::create(parent, name);
        if (item != nullptr && isRecording_)
            open_.push_back({item, nullptr, 0, Kind::kCreate});
        return item;
    }

    /// A copy of @p top with all that is below it, last under the root. Within a unit of work.
    NodeRef copy(NodeRef top, std::string_view name);

    [[nodiscard]] NodeRef child(NodeRef parent, std::string_view name) const { return FloorTree::find(parent, name); }

    template <class See>
    static void forEachChild(NodeRef node, See see)
    {
        for (NodeRef child = node->first; child != nullptr; child = child->next)
            see(child);
    }

    [[nodiscard]] static float f0(NodeRef node) { return node->f0; }

    void set(NodeRef node, float f0)
    {
        if (isRecording_)
            open_.push_back({node, nullptr, node->f0, Kind::kSet});
        node->f0 = f0;
    }

    /// Takes out every node on its own, leaves first. Within a unit of work, which then holds them.
    void destroy(NodeRef top);

    void settle() {}
    void begin(std::size_t) { isRecording_ = true; }
    void commit();
    void undo() { replayTop(undo_, redo_, false); }
    void redo() { replayTop(redo_, undo_, true); }
    void clearHistory();
    void observe(std::size_t* counter);

    void buildComputed(const std::vector<int>& parents);
    void setLocal(int index, float value);
    void updateComputed();
    [[nodiscard]] float world(int index) const { return computed_[static_cast<std::size_t>(index)]->f1; }

private:
    using FloorTree::find; // by name; the benchmarks' find() is by path, which this side does not have

    enum class Kind : std::uint8_t
    {
        kSet,
        kCreate,
        kDestroy
    };
    struct Edit
    {
        Item* item;
        Item* next; ///< of a destroyed item: the sibling behind it
        float f0;   ///< of a write: the value that is not in the item
        Kind kind;
    };
    using Unit = std::vector<Edit>;

    void replay(Edit& edit, bool forward);
    void replayTop(std::vector<Unit>& from, std::vector<Unit>& to, bool forward);

    bool isRecording_ = false;
    Unit open_;
    std::vector<Unit> undo_;
    std::vector<Unit> redo_;
    std::function<void(const Unit&)> observer_;
    std::vector<Item*> computed_; ///< f0 is the local value, f1 the world value
    std::vector<Item*> dirty_;    ///< whose local values changed
};

} // namespace db2bench
