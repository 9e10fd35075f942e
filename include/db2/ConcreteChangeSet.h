#pragma once

#include <db2/ChangeList.h>
#include <db2/ChangeSet.h>
#include <db2/Export.h>
#include <db2/Flags.h>

namespace db2 {

/// The library's change set: sixteen lists in the order of recording.
/// Cost: adding and reading are constant; taking out is amortised constant, as long as an object is in a list once.
class DB2_API ConcreteChangeSet : public ChangeSet
{
public:
    void addCreatedNode(Node* node) override;
    void addChangedNode(Node* node) override;
    void addDestroyedNode(Node* node) override;
    void addReparentedNode(Node* node) override;
    void addReorderedNode(Node* node) override;
    void addRenamedNode(Node* node, const wchar_t* oldName) override; ///< keeps no old names
    void addCreatedDynamicAttribute(Attribute* attribute) override;
    void addDestroyedDynamicAttribute(Attribute* attribute) override;
    void addRenamedDynamicAttribute(Attribute* attribute) override;
    void addCreatedDynamicAttributeArray(AttributeArray* array) override;
    void addDestroyedDynamicAttributeArray(AttributeArray* array) override;
    void addRenamedDynamicAttributeArray(AttributeArray* array) override;
    void addResizedAttributeArray(AttributeArray* array) override;
    void addCreatedReference(Attribute* attribute) override;
    void addDestroyedReference(Attribute* attribute) override;
    void addChangedAttribute(Attribute* attribute) override;

    // Taking out what is not in a list takes out the list's last entry instead; callers know what is in it.
    void removeCreatedNode(Node* node) override;
    void removeChangedNode(Node* node) override;
    void removeDestroyedNode(Node* node) override;
    void removeReparentedNode(Node* node) override;
    void removeReorderedNode(Node* node) override;
    void removeRenamedNode(Node* node) override;
    void removeCreatedDynamicAttribute(Attribute* attribute) override;
    void removeDestroyedDynamicAttribute(Attribute* attribute) override;
    void removeRenamedDynamicAttribute(Attribute* attribute) override;
    void removeCreatedDynamicAttributeArray(AttributeArray* array) override;
    void removeDestroyedDynamicAttributeArray(AttributeArray* array) override;
    void removeRenamedDynamicAttributeArray(AttributeArray* array) override;
    void removeResizedAttributeArray(AttributeArray* array) override;
    void removeCreatedReference(Attribute* attribute) override;
    void removeDestroyedReference(Attribute* attribute) override;
    void removeChangedAttribute(Attribute* attribute) override;

    [[nodiscard]] unsigned int CreatedNodeCount() const override;
    [[nodiscard]] unsigned int DestroyedNodeCount() const override;
    [[nodiscard]] unsigned int ReparentedNodeCount() const override;
    [[nodiscard]] unsigned int ReorderedNodeCount() const override;
    [[nodiscard]] unsigned int RenamedNodeCount() const override;
    [[nodiscard]] unsigned int ChangedNodeCount() const override;
    [[nodiscard]] unsigned int CreatedDynamicAttributeCount() const override;
    [[nodiscard]] unsigned int DestroyedDynamicAttributeCount() const override;
    [[nodiscard]] unsigned int RenamedDynamicAttributeCount() const override;
    [[nodiscard]] unsigned int CreatedDynamicAttributeArrayCount() const override;
    [[nodiscard]] unsigned int DestroyedDynamicAttributeArrayCount() const override;
    [[nodiscard]] unsigned int RenamedDynamicAttributeArrayCount() const override;
    [[nodiscard]] unsigned int ResizedAttributeArrayCount() const override;
    [[nodiscard]] unsigned int CreatedReferenceCount() const override;
    [[nodiscard]] unsigned int DestroyedReferenceCount() const override;
    [[nodiscard]] unsigned int ChangedAttributeCount() const override;

    [[nodiscard]] Node* CreatedNode(unsigned int index) const override;
    [[nodiscard]] Node* DestroyedNode(unsigned int index) const override;
    [[nodiscard]] Node* ReparentedNode(unsigned int index) const override;
    [[nodiscard]] Node* ReorderedNode(unsigned int index) const override;
    [[nodiscard]] Node* RenamedNode(unsigned int index) const override;
    [[nodiscard]] Node* ChangedNode(unsigned int index) const override;
    [[nodiscard]] Attribute* CreatedDynamicAttribute(unsigned int index) const override;
    [[nodiscard]] Attribute* DestroyedDynamicAttribute(unsigned int index) const override;
    [[nodiscard]] Attribute* RenamedDynamicAttribute(unsigned int index) const override;
    [[nodiscard]] AttributeArray* CreatedDynamicAttributeArray(unsigned int index) const override;
    [[nodiscard]] AttributeArray* DestroyedDynamicAttributeArray(unsigned int index) const override;
    [[nodiscard]] AttributeArray* RenamedDynamicAttributeArray(unsigned int index) const override;
    [[nodiscard]] AttributeArray* ResizedAttributeArray(unsigned int index) const override;
    [[nodiscard]] Attribute* CreatedReference(unsigned int index) const override;
    [[nodiscard]] Attribute* DestroyedReference(unsigned int index) const override;
    [[nodiscard]] Attribute* ChangedAttribute(unsigned int index) const override;

    void assign(const ChangeSet& other) override;
    void clear() override;
    void reserve() override;
    void stableSortCreatedNodes(BreadthFirstSortFunctor& functor) override;
    void stableSortDestroyedNodes(BreadthFirstSortFunctor& functor) override;

private:
    friend class ChangeManager; // which goes through the lists at every commit, without a virtual call for each entry

    template <class T>
    void enter(ChangeList<T>& list, T* object);

    /// Calls @p visit with each list that may hold something and the bit that the change layer sets on the objects in it.
    template <class Visit>
    void forEachUsedList(Visit visit)
    {
        visit(changedNodes_, NodeFlag::kChanged);
        visit(changedAttributes_, ElementFlag::kChanged);
        if (!holdsOthers_) // as in most units of work
            return;
        visit(createdNodes_, NodeFlag::kCreated);
        visit(destroyedNodes_, NodeFlag::kDestroyedNow);
        visit(reparentedNodes_, NodeFlag::kReparented);
        visit(reorderedNodes_, NodeFlag::kReordered);
        visit(renamedNodes_, NodeFlag::kRenamed);
        visit(createdDynamicAttributes_, ElementFlag::kCreated);
        visit(destroyedDynamicAttributes_, ElementFlag::kDestroyedNow);
        visit(renamedDynamicAttributes_, ElementFlag::kRenamed);
        visit(createdDynamicAttributeArrays_, ElementFlag::kCreated);
        visit(destroyedDynamicAttributeArrays_, ElementFlag::kDestroyedNow);
        visit(renamedDynamicAttributeArrays_, ElementFlag::kRenamed);
        visit(resizedAttributeArrays_, ElementFlag::kResized);
        visit(createdReferences_, ElementFlag::kReferenceMade);
        visit(destroyedReferences_, ElementFlag::kReferenceBroken);
    }

    ChangeList<Node> createdNodes_;
    ChangeList<Node> destroyedNodes_;
    ChangeList<Node> reparentedNodes_;
    ChangeList<Node> reorderedNodes_;
    ChangeList<Node> renamedNodes_;
    ChangeList<Node> changedNodes_;
    ChangeList<Attribute> createdDynamicAttributes_;
    ChangeList<Attribute> destroyedDynamicAttributes_;
    ChangeList<Attribute> renamedDynamicAttributes_;
    ChangeList<AttributeArray> createdDynamicAttributeArrays_;
    ChangeList<AttributeArray> destroyedDynamicAttributeArrays_;
    ChangeList<AttributeArray> renamedDynamicAttributeArrays_;
    ChangeList<AttributeArray> resizedAttributeArrays_;
    ChangeList<Attribute> createdReferences_;
    ChangeList<Attribute> destroyedReferences_;
    ChangeList<Attribute> changedAttributes_;
    bool holdsOthers_ = false; ///< whether anything was entered into the others since the set was cleared
};

} // namespace db2
