#pragma once

#include "NumberedText.h"
#include "Workload.h"

#include <db2/db2.h>

#include <cstddef>
#include <string_view>

namespace db2bench {

/// The library's side of the tree benchmarks: a core with the node types of all benchmarks. Edits go through a
/// DataInterface, as those of a host do. Needs a running library.
class DatabaseTree
{
public:
    // --- What every side of the tree benchmarks has ---

    static constexpr const char* kSide = "db2";
    using Character = wchar_t;
    using NodeRef = db2::Node*;

    DatabaseTree();
    DatabaseTree(const DatabaseTree&) = delete;
    DatabaseTree& operator=(const DatabaseTree&) = delete;

    NodeRef root() { return core_.getRoot(); }
    static NodeRef parentOf(NodeRef node) { return node->getParent(); }
    static std::wstring_view nameOf(NodeRef node) { return {node->getName().c_str(), node->getName().size()}; }

    /// Null on failure.
    NodeRef create(NodeRef parent, const NumberedText<wchar_t>& name)
    {
        return createNode(kEightAttributes, parent, name.c_str());
    }

    bool write(NodeRef node, const Values<wchar_t>& values);
    bool writeF0(NodeRef node, float value);
    [[nodiscard]] static bool holds(NodeRef node, const Values<wchar_t>& values);

    /// @param name  with a null character behind it.
    [[nodiscard]] NodeRef find(NodeRef parent, std::wstring_view name) const
    {
        return parent->findChildByName(name.data());
    }

    /// Calls @p see with f0 of every node below the root, parents first.
    template <class See>
    void visit(See see) const
    {
        for (db2::ConstNodeIterator nodes(core_.getRoot()); nodes.next();)
            see(attribute(nodes.node(), kF0)->getValue().asFloat());
    }

    /// Destroys every node below the root on its own, leaves first, then commits.
    bool destroyAll();

    bool clear() { return data_->db_clear() == db2::Status::kSuccess; }

    // --- For the other benchmarks ---

    /// From now on every edit goes through @p layer, which ends at core(); not owned, and unused after its end.
    void editThrough(db2::DataInterface& layer) { data_ = &layer; }

    enum TypeId : unsigned int
    {
        kEightAttributes = 1, ///< f0, f1, i, b, s, v, m, c
        kOneFloat = 2,        ///< one Float attribute
        kFloatArray = 3,      ///< one attribute array of Floats
        kComputed = 4         ///< the elements of ComputedElement; computes the world value
    };

    enum ComputedElement : unsigned int
    {
        kLocal,       ///< 1 by default
        kParentWorld, ///< references the parent's world value; 0 while it does not
        kWorld        ///< the sum of the two
    };

    [[nodiscard]] db2::DataInterface& data() { return *data_; }
    [[nodiscard]] db2::CoreManager& core() { return core_; }
    [[nodiscard]] const db2::CoreManager& core() const { return core_; }

    /// Null on failure.
    NodeRef createNode(TypeId typeId, NodeRef parent, const wchar_t* name)
    {
        NodeRef node = nullptr;
        data_->db_createNode(typeId, name, parent, nullptr, &node);
        return node;
    }

    [[nodiscard]] static db2::Attribute* attribute(const db2::Node* node, unsigned int index)
    {
        return static_cast<db2::Attribute*>(node->getElement(index));
    }

    /// Bytes of the block that holds one node of eight attributes with its elements.
    [[nodiscard]] std::size_t bytesOfNodeBlock() const
    {
        return registry_.lookupNodeTemplate(kEightAttributes)->getNodeMemoryRequirements().size;
    }

private:
    enum ElementIndex : unsigned int
    {
        kF0,
        kF1,
        kI,
        kB,
        kS,
        kV,
        kM,
        kC
    };

    /// A registry with the types, so that it stands before the core is made.
    struct Registry : db2::NodeRegistry
    {
        Registry();
    };

    /// Locks, writes, unlocks.
    template <class Write>
    bool edit(NodeRef node, ElementIndex index, Write writeTo)
    {
        db2::Attribute* const edited = attribute(node, index);
        db2::ValueHandle value;
        if (data_->db_lockAttribute(edited, &value) != db2::Status::kSuccess)
            return false;
        writeTo(value);
        return data_->db_unlockAttribute(edited) == db2::Status::kSuccess;
    }

    Registry registry_;
    db2::CoreManager core_{registry_, kOneFloat};
    db2::DataInterface* data_; ///< at first the core, in a way that hides it from the compiler, as layers would
};

} // namespace db2bench
