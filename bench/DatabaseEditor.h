#pragma once

#include "DatabaseTree.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace db2bench {

/// The library's side of the editing benchmarks (see EditingWorkloads.h): undo, computed attributes, change reporting and
/// watching around a core, in the order that the documentation recommends. Call logging is left out, which hosts put in
/// to look for a fault. Everything is recorded, so begin() has nothing to do. An edit that is refused throws.
class DatabaseEditor
{
public:
    static constexpr const char* kSide = DatabaseTree::kSide;
    using Character = DatabaseTree::Character;
    using NodeRef = DatabaseTree::NodeRef;

    DatabaseEditor();
    DatabaseEditor(const DatabaseEditor&) = delete;
    DatabaseEditor& operator=(const DatabaseEditor&) = delete;

    NodeRef root() { return tree_.root(); }
    static bool isNode(NodeRef node) { return node != nullptr; }

    /// Null on failure.
    NodeRef create(NodeRef parent, const NumberedText<wchar_t>& name, const Values<wchar_t>& values)
    {
        NodeRef const node = tree_.create(parent, name);
        return node != nullptr && tree_.write(node, values) ? node : nullptr;
    }

    /// @param name  with a null character behind it.
    [[nodiscard]] NodeRef child(NodeRef parent, std::wstring_view name) const { return tree_.find(parent, name); }

    template <class See>
    static void forEachChild(NodeRef node, See see)
    {
        for (NodeRef child = node->getFirstChild(); child != nullptr; child = child->getNextSibling())
            see(child);
    }

    [[nodiscard]] static std::wstring_view nameOf(NodeRef node) { return DatabaseTree::nameOf(node); }
    [[nodiscard]] static float f0(NodeRef node) { return DatabaseTree::attribute(node, 0)->getValue().asFloat(); }
    [[nodiscard]] static bool holds(NodeRef node, const Values<wchar_t>& values)
    {
        return DatabaseTree::holds(node, values);
    }

    void set(NodeRef node, float f0);
    void destroy(NodeRef top);
    [[nodiscard]] NodeRef find(std::wstring_view path);

    void settle();
    void begin(std::size_t) {}
    void commit();
    void undo();
    void redo();
    void clearHistory();
    void observe(std::size_t* counter);
    [[nodiscard]] std::size_t undoBytes() const; ///< as the undo layer tells them for its newest item

    void buildComputed(const std::vector<int>& parents);
    void setLocal(int index, float value);
    void updateComputed() { commit(); }
    [[nodiscard]] float world(int index) const;

    // --- For benchmarks of the library alone ---

    [[nodiscard]] DatabaseTree& tree() { return tree_; } ///< which edits through the whole chain
    [[nodiscard]] db2::DataInterface& outermostLayer() { return undo_; }

private:
    /// Goes through the values that a unit of work wrote.
    class WriteCounter : public db2::DataObserver
    {
    public:
        explicit WriteCounter(std::size_t*& counter) : counter_(counter) {}
        void onReportChanges(db2::ChangeManager*, const db2::ChangeSet& changes, bool) override;
        void onClear(db2::ChangeManager*) override {}

    private:
        std::size_t*& counter_;
    };

    // The chain, in the order of construction; destroyed from the outside in.
    DatabaseTree tree_;
    db2::WatchManager watches_;
    db2::ConcreteChangeSet changes_;
    db2::ConcreteChangeSet snapshot_;
    db2::ChangeManager reports_;
    db2::ComputeManager computed_;
    db2::UndoManager undo_;
    std::size_t* counter_ = nullptr;
    WriteCounter writeCounter_{counter_};
    std::vector<NodeRef> computedNodes_;
};

} // namespace db2bench
