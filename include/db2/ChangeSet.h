#pragma once

#include <db2/Export.h>

#include <kqtl/pod_vector.h>

namespace db2 {

class Attribute;
class AttributeArray;
class Element;
class Node;

/// Orders nodes by their depth in the tree, the number of their ancestors: parents before children.
struct DB2_API BreadthFirstSortFunctor
{
    bool operator()(const Node* a, const Node* b) const; ///< Cost: a walk to the root for each
};

/// What one unit of work did to the tree, as sixteen lists of pointers: the nodes created, destroyed, moved, reordered
/// (the parent of the children), renamed and changed, the dynamic elements created, destroyed and renamed, the arrays
/// resized, the references created and destroyed (their referencers), and the attributes written.
/// ChangeManager fills one and hands it to observers. Owns none of the objects. Whether an object is in a list also
/// stands as a bit on the object (Flags.h), which the questions below read; the lists keep the order.
/// A host may supply an implementation of its own; ConcreteChangeSet is the library's.
class DB2_API ChangeSet
{
public:
    virtual ~ChangeSet();

    // --- Entering and taking out: each object once, which is the caller's to see to ---

    virtual void addCreatedNode(Node* node) = 0;
    virtual void addChangedNode(Node* node) = 0;
    virtual void addDestroyedNode(Node* node) = 0;
    virtual void addReparentedNode(Node* node) = 0;
    virtual void addReorderedNode(Node* node) = 0;
    virtual void addRenamedNode(Node* node, const wchar_t* oldName) = 0;
    virtual void addCreatedDynamicAttribute(Attribute* attribute) = 0;
    virtual void addDestroyedDynamicAttribute(Attribute* attribute) = 0;
    virtual void addRenamedDynamicAttribute(Attribute* attribute) = 0;
    virtual void addCreatedDynamicAttributeArray(AttributeArray* array) = 0;
    virtual void addDestroyedDynamicAttributeArray(AttributeArray* array) = 0;
    virtual void addRenamedDynamicAttributeArray(AttributeArray* array) = 0;
    virtual void addResizedAttributeArray(AttributeArray* array) = 0;
    virtual void addCreatedReference(Attribute* attribute) = 0;
    virtual void addDestroyedReference(Attribute* attribute) = 0;
    virtual void addChangedAttribute(Attribute* attribute) = 0;

    virtual void removeCreatedNode(Node* node) = 0;
    virtual void removeChangedNode(Node* node) = 0;
    virtual void removeDestroyedNode(Node* node) = 0;
    virtual void removeReparentedNode(Node* node) = 0;
    virtual void removeReorderedNode(Node* node) = 0;
    virtual void removeRenamedNode(Node* node) = 0;
    virtual void removeCreatedDynamicAttribute(Attribute* attribute) = 0;
    virtual void removeDestroyedDynamicAttribute(Attribute* attribute) = 0;
    virtual void removeRenamedDynamicAttribute(Attribute* attribute) = 0;
    virtual void removeCreatedDynamicAttributeArray(AttributeArray* array) = 0;
    virtual void removeDestroyedDynamicAttributeArray(AttributeArray* array) = 0;
    virtual void removeRenamedDynamicAttributeArray(AttributeArray* array) = 0;
    virtual void removeResizedAttributeArray(AttributeArray* array) = 0;
    virtual void removeCreatedReference(Attribute* attribute) = 0;
    virtual void removeDestroyedReference(Attribute* attribute) = 0;
    virtual void removeChangedAttribute(Attribute* attribute) = 0;

    // --- Reading: counts, and entries below them ---

    [[nodiscard]] virtual unsigned int CreatedNodeCount() const = 0;
    [[nodiscard]] virtual unsigned int DestroyedNodeCount() const = 0;
    [[nodiscard]] virtual unsigned int ReparentedNodeCount() const = 0;
    [[nodiscard]] virtual unsigned int ReorderedNodeCount() const = 0;
    [[nodiscard]] virtual unsigned int RenamedNodeCount() const = 0;
    [[nodiscard]] virtual unsigned int ChangedNodeCount() const = 0;
    [[nodiscard]] virtual unsigned int CreatedDynamicAttributeCount() const = 0;
    [[nodiscard]] virtual unsigned int DestroyedDynamicAttributeCount() const = 0;
    [[nodiscard]] virtual unsigned int RenamedDynamicAttributeCount() const = 0;
    [[nodiscard]] virtual unsigned int CreatedDynamicAttributeArrayCount() const = 0;
    [[nodiscard]] virtual unsigned int DestroyedDynamicAttributeArrayCount() const = 0;
    [[nodiscard]] virtual unsigned int RenamedDynamicAttributeArrayCount() const = 0;
    [[nodiscard]] virtual unsigned int ResizedAttributeArrayCount() const = 0;
    [[nodiscard]] virtual unsigned int CreatedReferenceCount() const = 0;
    [[nodiscard]] virtual unsigned int DestroyedReferenceCount() const = 0;
    [[nodiscard]] virtual unsigned int ChangedAttributeCount() const = 0;

    [[nodiscard]] virtual Node* CreatedNode(unsigned int index) const = 0;
    [[nodiscard]] virtual Node* DestroyedNode(unsigned int index) const = 0;
    [[nodiscard]] virtual Node* ReparentedNode(unsigned int index) const = 0;
    [[nodiscard]] virtual Node* ReorderedNode(unsigned int index) const = 0;
    [[nodiscard]] virtual Node* RenamedNode(unsigned int index) const = 0;
    [[nodiscard]] virtual Node* ChangedNode(unsigned int index) const = 0;
    [[nodiscard]] virtual Attribute* CreatedDynamicAttribute(unsigned int index) const = 0;
    [[nodiscard]] virtual Attribute* DestroyedDynamicAttribute(unsigned int index) const = 0;
    [[nodiscard]] virtual Attribute* RenamedDynamicAttribute(unsigned int index) const = 0;
    [[nodiscard]] virtual AttributeArray* CreatedDynamicAttributeArray(unsigned int index) const = 0;
    [[nodiscard]] virtual AttributeArray* DestroyedDynamicAttributeArray(unsigned int index) const = 0;
    [[nodiscard]] virtual AttributeArray* RenamedDynamicAttributeArray(unsigned int index) const = 0;
    [[nodiscard]] virtual AttributeArray* ResizedAttributeArray(unsigned int index) const = 0;
    [[nodiscard]] virtual Attribute* CreatedReference(unsigned int index) const = 0;
    [[nodiscard]] virtual Attribute* DestroyedReference(unsigned int index) const = 0;
    [[nodiscard]] virtual Attribute* ChangedAttribute(unsigned int index) const = 0;

    // --- The whole ---

    /// Makes every list a copy of the other's.
    virtual void assign(const ChangeSet& other) = 0;
    virtual void clear() = 0;
    /// Makes room for a usual unit of work.
    virtual void reserve() = 0;
    /// Parents before children; nodes of one depth keep their order.
    virtual void stableSortCreatedNodes(BreadthFirstSortFunctor& functor) = 0;
    /// The deepest first; of nodes of one depth the last recorded comes first.
    virtual void stableSortDestroyedNodes(BreadthFirstSortFunctor& functor) = 0;

    // --- Questions, answered by the bits on the objects in constant time ---

    [[nodiscard]] static bool hasChanged(const Node* node);
    [[nodiscard]] static bool hasChanged(const Attribute* attribute);
    [[nodiscard]] static bool wasResized(const AttributeArray* array);
    [[nodiscard]] static bool wasRenamed(const Node* node);
    [[nodiscard]] static bool wasDestroyed(const Node* node);
    /// Tests the element bit 0x100, the number of the node's bit, and not the bit that the change layer sets on elements;
    /// hosts rely on it as it is.
    [[nodiscard]] static bool wasRenamed(const Attribute* attribute);
    /// Tests the element bit 0x80, likewise.
    [[nodiscard]] static bool wasDestroyed(const Element* element);

    /// True when any of the attributes was written; false for none.
    [[nodiscard]] static bool hasChangedAny(const kqtl::pod_vector<Attribute*>& attributes);
    /// True when all of them were; true for none.
    [[nodiscard]] static bool hasChangedAll(const kqtl::pod_vector<Attribute*>& attributes);
    [[nodiscard]] static bool wasRenamedAny(const kqtl::pod_vector<Attribute*>& attributes);
    [[nodiscard]] static bool wasRenamedAll(const kqtl::pod_vector<Attribute*>& attributes);

    /// True when nodes, dynamic elements or references came or went, nodes were moved, or arrays were resized. Order,
    /// names and values do not count.
    [[nodiscard]] bool hasTopologicalChange() const;

    // --- Either kind of element ---

    void addCreatedDynamicElement(Element* element);
    void addDestroyedDynamicElement(Element* element);
    void addRenamedDynamicElement(Element* element);
    void removeCreatedDynamicElement(Element* element);
    void removeDestroyedDynamicElement(Element* element);
    void removeRenamedDynamicElement(Element* element);

protected:
    ChangeSet() = default;
    ChangeSet(const ChangeSet&) = default;
    ChangeSet& operator=(const ChangeSet&) = default;
};

} // namespace db2
