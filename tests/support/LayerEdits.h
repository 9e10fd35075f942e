#pragma once

#include "Random.h"
#include "Scene.h"

#include <array>
#include <cstddef>
#include <vector>

namespace db2test {

/// Random edits through any chain of layers over a scene's core: mostly ones that succeed, on a small tree whose nodes
/// have values, computed ones among them, arrays, references and dynamic elements. From one seed the same edits whatever
/// the layers, as long as these change nothing of what the edits do.
/// Leaves no lock outstanding, and makes no commit.
class LayerEdits
{
public:
    /// Nodes of this type have the attributes "a", "b", "sum" (computed from both), "label" (a text) and "points", an
    /// array of Ints.
    static constexpr unsigned int kRig = 20;

    enum class Kind : std::size_t
    {
        kCreateNode,
        kCreateUnknownNode,
        kDestroyLeafNode,
        kDestroySubtree,
        kRenameNode,
        kReparentNode,
        kReorderNode,
        kCreateDynamicElement,
        kDestroyDynamicElement,
        kRenameDynamicElement,
        kResizeAttributeArray,
        kCreateReference,
        kDestroyReference,
        kWriteAttribute,
        kWriteArray,
        kMistake, ///< something that the core refuses
        kCount
    };

    /// Registers the type in the scene, once for each scene. All are alive for as long as this is in use.
    LayerEdits(DataInterface& data, Scene& scene, Random& random);

    /// Makes one edit, which may be several calls.
    void edit();

    /// How many edits of the kind have succeeded.
    [[nodiscard]] std::size_t successes(Kind kind) const { return successes_[static_cast<std::size_t>(kind)]; }

    /// The answers of all calls, in order.
    [[nodiscard]] const std::vector<Status>& answers() const { return answers_; }

    [[nodiscard]] Node* anyNode();       ///< the root included
    [[nodiscard]] Node* nodeBelowRoot(); ///< null when there is none

private:
    bool note(Status answer);
    bool make(Kind kind);

    bool createNode();
    bool createUnknownNode();
    bool destroyLeafNode();
    bool destroySubtree();
    bool destroyWithoutChildren(Node* node);
    bool renameNode();
    bool reparentNode();
    bool reorderNode();
    bool createDynamicElement();
    bool destroyDynamicElement();
    bool renameDynamicElement();
    bool resizeAttributeArray();
    bool createReference();
    bool destroyReference();
    bool writeAttribute();
    bool writeArray();
    bool makeMistake();

    void freeFromReferences(Node* node);
    [[nodiscard]] std::vector<Node*> nodes();
    [[nodiscard]] Node* childOrNull(const Node* parent);
    [[nodiscard]] Element* anyDynamicElement();
    [[nodiscard]] Attribute* anyAttribute();
    [[nodiscard]] AttributeArray* anyArray();
    [[nodiscard]] std::wstring anyName();

    DataInterface& data_;
    Scene& scene_;
    Random& random_;
    std::array<std::size_t, static_cast<std::size_t>(Kind::kCount)> successes_{};
    std::vector<Status> answers_;
};

} // namespace db2test
