#pragma once

#include <db2/DataInterface.h>
#include <db2/Operation.h>
#include <db2/Status.h>
#include <db2/ValueHandle.h>
#include <db2/testing/ConformanceTree.h>

#include <iterator>
#include <span>

namespace db2::conformance {

/// What a call writes its result to. Before the call it holds something of the tree, or of its own, so that a result that
/// was left alone can be told.
struct Results
{
    explicit Results(const ConformanceTree& tree) : node(tree.core.getRoot()), element(tree.first) {}
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;

    /// Where the result of the operation is now; null for an operation without one.
    [[nodiscard]] const void* of(Operation operation) const
    {
        switch (operation)
        {
        case Operation::kCreateNode:
        case Operation::kCreateUnknownNode: return node;
        case Operation::kCreateDynamicElement: return element;
        case Operation::kLockAttribute: return value.getData();
        case Operation::kLockAttributeArray: return values;
        default: return nullptr;
        }
    }

    Node* node;
    Element* element;
    DefaultValue untouched{AttributeType::kFloat};
    ValueHandle value{untouched};
    void* values = &node;
};

/// One call of one operation on a fresh ConformanceTree.
struct Drive
{
    struct To
    {
        DataInterface& data;
        ConformanceTree& tree;
        Results& results;
    };
    using Step = Status (*)(To to);

    enum Kind
    {
        kOrdinary,  ///< the core carries it out
        kImpossible ///< every layer must live through it, and none may answer kSuccess
    };

    Operation operation;
    Kind kind;
    const char* situation;
    Step perform;
    Step prepare = nullptr; ///< through the layer, too; not judged
};

/// Calls of every operation, each with arguments that can be told apart. The first one of an operation is the one that
/// checkLayer() has refused, too.
[[nodiscard]] inline std::span<const Drive> drives()
{
    using To = Drive::To;
    using enum Operation;
    using enum Drive::Kind;
    static constexpr Drive kDrives[] = {
        {kCreateNode, kOrdinary, "all arguments given",
         [](To to) {
             return to.data.db_createNode(ConformanceTypes::kPart, L"finger", to.tree.arm, to.tree.hand,
                                          &to.results.node);
         }},
        {kCreateNode, kOrdinary, "no name, parent, neighbour or result asked for",
         [](To to) { return to.data.db_createNode(ConformanceTypes::kPart, nullptr, nullptr, nullptr, nullptr); }},
        {kCreateNode, kOrdinary, "an empty name",
         [](To to) {
             return to.data.db_createNode(ConformanceTypes::kPart, L"", to.tree.shelf, nullptr, &to.results.node);
         }},
        {kCreateUnknownNode, kOrdinary, "all arguments given, legacy",
         [](To to) {
             return to.data.db_createUnknownNode(L"Lost", to.tree.types.otherModule, L"finger", to.tree.arm,
                                                 to.tree.hand, true, &to.results.node);
         }},
        {kCreateUnknownNode, kOrdinary, "no name, parent, neighbour or result asked for, not legacy",
         [](To to) {
             return to.data.db_createUnknownNode(L"Lost", to.tree.types.module, nullptr, nullptr, nullptr, false,
                                                 nullptr);
         }},
        {kDestroyLeafNode, kOrdinary, "a leaf", [](To to) { return to.data.db_destroyLeafNode(to.tree.cup); }},
        {kDestroyLeafNode, kImpossible, "a null node", [](To to) { return to.data.db_destroyLeafNode(nullptr); }},
        {kRenameNode, kOrdinary, "a new name", [](To to) { return to.data.db_renameNode(to.tree.hand, L"left hand"); }},
        {kRenameNode, kImpossible, "a null node", [](To to) { return to.data.db_renameNode(nullptr, L"left hand"); }},
        {kRenameNode, kImpossible, "a null name", [](To to) { return to.data.db_renameNode(to.tree.hand, nullptr); }},
        {kReparentNode, kOrdinary, "all arguments given",
         [](To to) { return to.data.db_reparentNode(to.tree.hand, to.tree.shelf, to.tree.cup, L"glove"); }},
        {kReparentNode, kOrdinary, "no neighbour and no name",
         [](To to) { return to.data.db_reparentNode(to.tree.hand, to.tree.shelf, nullptr, nullptr); }},
        {kReparentNode, kOrdinary, "an empty name",
         [](To to) { return to.data.db_reparentNode(to.tree.hand, to.tree.shelf, nullptr, L""); }},
        {kReparentNode, kImpossible, "a null node",
         [](To to) { return to.data.db_reparentNode(nullptr, to.tree.shelf, nullptr, nullptr); }},
        {kReparentNode, kImpossible, "a null parent",
         [](To to) { return to.data.db_reparentNode(to.tree.hand, nullptr, nullptr, nullptr); }},
        {kReorderNode, kOrdinary, "before a sibling",
         [](To to) { return to.data.db_reorderNode(to.tree.shelf, to.tree.arm); }},
        {kReorderNode, kOrdinary, "to the end", [](To to) { return to.data.db_reorderNode(to.tree.arm, nullptr); }},
        {kReorderNode, kImpossible, "a null node", [](To to) { return to.data.db_reorderNode(nullptr, to.tree.arm); }},
        {kCreateDynamicElement, kOrdinary, "all arguments given",
         [](To to) {
             return to.data.db_createDynamicElement(to.tree.definition, L"third", to.tree.arm, to.tree.second,
                                                    &to.results.element);
         }},
        {kCreateDynamicElement, kOrdinary, "no neighbour and no result asked for",
         [](To to) {
             return to.data.db_createDynamicElement(to.tree.definition, L"third", to.tree.arm, nullptr, nullptr);
         }},
        {kCreateDynamicElement, kImpossible, "a null node",
         [](To to) {
             return to.data.db_createDynamicElement(to.tree.definition, L"third", nullptr, nullptr,
                                                    &to.results.element);
         }},
        {kCreateDynamicElement, kImpossible, "a null name",
         [](To to) {
             return to.data.db_createDynamicElement(to.tree.definition, nullptr, to.tree.arm, nullptr,
                                                    &to.results.element);
         }},
        {kDestroyDynamicElement, kOrdinary, "an element",
         [](To to) { return to.data.db_destroyDynamicElement(to.tree.first); }},
        {kDestroyDynamicElement, kImpossible, "a null element",
         [](To to) { return to.data.db_destroyDynamicElement(nullptr); }},
        {kRenameDynamicElement, kOrdinary, "a new name",
         [](To to) { return to.data.db_renameDynamicElement(to.tree.first, L"zeroth"); }},
        {kRenameDynamicElement, kImpossible, "a null element",
         [](To to) { return to.data.db_renameDynamicElement(nullptr, L"zeroth"); }},
        {kRenameDynamicElement, kImpossible, "a null name",
         [](To to) { return to.data.db_renameDynamicElement(to.tree.first, nullptr); }},
        {kResizeAttributeArray, kOrdinary, "a growth",
         [](To to) { return to.data.db_resizeAttributeArray(to.tree.marks, 7); }},
        {kResizeAttributeArray, kOrdinary, "a shrink",
         [](To to) { return to.data.db_resizeAttributeArray(to.tree.marks, 0); }},
        {kResizeAttributeArray, kImpossible, "a null array",
         [](To to) { return to.data.db_resizeAttributeArray(nullptr, 7); }},
        {kCreateReference, kOrdinary, "single output",
         [](To to) { return to.data.db_createReference(to.tree.shelfWidth, to.tree.shelfLength, true); }},
        {kCreateReference, kOrdinary, "not single output",
         [](To to) { return to.data.db_createReference(to.tree.shelfLength, to.tree.shelfWidth, false); }},
        {kCreateReference, kImpossible, "nothing referenced",
         [](To to) { return to.data.db_createReference(nullptr, to.tree.shelfWidth, false); }},
        {kCreateReference, kImpossible, "no referencer",
         [](To to) { return to.data.db_createReference(to.tree.shelfLength, nullptr, false); }},
        {kDestroyReference, kOrdinary, "a reference", [](To to) { return to.data.db_destroyReference(to.tree.width); }},
        {kDestroyReference, kImpossible, "a null referencer",
         [](To to) { return to.data.db_destroyReference(nullptr); }},
        {kLockAttribute, kOrdinary, "an attribute",
         [](To to) { return to.data.db_lockAttribute(to.tree.length, &to.results.value); }},
        {kLockAttribute, kImpossible, "a null attribute",
         [](To to) { return to.data.db_lockAttribute(nullptr, &to.results.value); }},
        {kLockAttribute, kImpossible, "no place for the value",
         [](To to) { return to.data.db_lockAttribute(to.tree.length, nullptr); }},
        {kUnlockAttribute, kOrdinary, "a locked attribute",
         [](To to) { return to.data.db_unlockAttribute(to.tree.shelfLength); },
         [](To to) { return to.data.db_lockAttribute(to.tree.shelfLength, &to.results.value); }},
        {kUnlockAttribute, kImpossible, "a null attribute", [](To to) { return to.data.db_unlockAttribute(nullptr); }},
        {kLockAttributeArray, kOrdinary, "an array",
         [](To to) { return to.data.db_lockAttributeArray(to.tree.marks, &to.results.values); }},
        {kLockAttributeArray, kImpossible, "a null array",
         [](To to) { return to.data.db_lockAttributeArray(nullptr, &to.results.values); }},
        {kLockAttributeArray, kImpossible, "no place for the values",
         [](To to) { return to.data.db_lockAttributeArray(to.tree.marks, nullptr); }},
        {kUnlockAttributeArray, kOrdinary, "a locked array",
         [](To to) { return to.data.db_unlockAttributeArray(to.tree.marks); },
         [](To to) { return to.data.db_lockAttributeArray(to.tree.marks, &to.results.values); }},
        {kUnlockAttributeArray, kImpossible, "a null array",
         [](To to) { return to.data.db_unlockAttributeArray(nullptr); }},
        {kCommit, kOrdinary, "all arguments given",
         [](To to) { return to.data.db_commit(L"what was done", L"host.cpp", 42); }},
        {kCommit, kOrdinary, "no texts", [](To to) { return to.data.db_commit(nullptr, nullptr, 0); }},
        {kCommitTransient, kOrdinary, "a transient commit", [](To to) { return to.data.db_commitTransient(); }},
        {kClear, kOrdinary, "a full tree", [](To to) { return to.data.db_clear(); }},
    };
    return kDrives;
}

} // namespace db2::conformance
