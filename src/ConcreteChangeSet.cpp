#include <db2/ConcreteChangeSet.h>

#include <db2/Node.h>

#include "NodeDepths.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace db2 {
namespace {

constexpr std::size_t kManyCreatedNodes = 32768; // loading a scene is one unit of work
constexpr std::size_t kReferences = 4096;
constexpr std::size_t kOthers = 1024;

/// Copies one list of any change set through its virtual operations.
template <class T>
void assignList(ChangeList<T>& list, const ChangeSet& other, unsigned int (ChangeSet::*count)() const,
                T* (ChangeSet::*entry)(unsigned int) const)
{
    const unsigned int entries = (other.*count)();
    list.clear();
    list.reserve(entries);
    for (unsigned int i = 0; i < entries; ++i)
        list.add((other.*entry)(i));
}

/// Sorts by depth, asking for each depth once.
void stableSortByDepth(ChangeList<Node>& list)
{
    if (list.count() < 2)
        return;
    NodeDepths depths;
    std::vector<std::pair<unsigned int, Node*>> sorted;
    sorted.reserve(list.count());
    for (std::size_t i = 0; i < list.count(); ++i)
        sorted.emplace_back(depths.of(*list.at(i)), list.at(i));
    const auto shallower = [](const auto& a, const auto& b) { return a.first < b.first; };
    if (std::is_sorted(sorted.begin(), sorted.end(), shallower))
        return;
    std::stable_sort(sorted.begin(), sorted.end(), shallower);
    for (std::size_t i = 0; i < sorted.size(); ++i)
        list.replace(i, sorted[i].second);
}

} // namespace

// --- Entering ---

/// Into any list but those of what was changed.
template <class T>
void ConcreteChangeSet::enter(ChangeList<T>& list, T* object)
{
    holdsOthers_ = true;
    list.add(object);
}

void ConcreteChangeSet::addCreatedNode(Node* node)
{
    enter(createdNodes_, node);
}

void ConcreteChangeSet::addChangedNode(Node* node)
{
    changedNodes_.add(node);
}

void ConcreteChangeSet::addDestroyedNode(Node* node)
{
    enter(destroyedNodes_, node);
}

void ConcreteChangeSet::addReparentedNode(Node* node)
{
    enter(reparentedNodes_, node);
}

void ConcreteChangeSet::addReorderedNode(Node* node)
{
    enter(reorderedNodes_, node);
}

void ConcreteChangeSet::addRenamedNode(Node* node, const wchar_t*)
{
    enter(renamedNodes_, node);
}

void ConcreteChangeSet::addCreatedDynamicAttribute(Attribute* attribute)
{
    enter(createdDynamicAttributes_, attribute);
}

void ConcreteChangeSet::addDestroyedDynamicAttribute(Attribute* attribute)
{
    enter(destroyedDynamicAttributes_, attribute);
}

void ConcreteChangeSet::addRenamedDynamicAttribute(Attribute* attribute)
{
    enter(renamedDynamicAttributes_, attribute);
}

void ConcreteChangeSet::addCreatedDynamicAttributeArray(AttributeArray* array)
{
    enter(createdDynamicAttributeArrays_, array);
}

void ConcreteChangeSet::addDestroyedDynamicAttributeArray(AttributeArray* array)
{
    enter(destroyedDynamicAttributeArrays_, array);
}

void ConcreteChangeSet::addRenamedDynamicAttributeArray(AttributeArray* array)
{
    enter(renamedDynamicAttributeArrays_, array);
}

void ConcreteChangeSet::addResizedAttributeArray(AttributeArray* array)
{
    enter(resizedAttributeArrays_, array);
}

void ConcreteChangeSet::addCreatedReference(Attribute* attribute)
{
    enter(createdReferences_, attribute);
}

void ConcreteChangeSet::addDestroyedReference(Attribute* attribute)
{
    enter(destroyedReferences_, attribute);
}

void ConcreteChangeSet::addChangedAttribute(Attribute* attribute)
{
    changedAttributes_.add(attribute);
}

// --- Taking out ---

void ConcreteChangeSet::removeCreatedNode(Node* node)
{
    createdNodes_.remove(node);
}

void ConcreteChangeSet::removeChangedNode(Node* node)
{
    changedNodes_.remove(node);
}

void ConcreteChangeSet::removeDestroyedNode(Node* node)
{
    destroyedNodes_.remove(node);
}

void ConcreteChangeSet::removeReparentedNode(Node* node)
{
    reparentedNodes_.remove(node);
}

void ConcreteChangeSet::removeReorderedNode(Node* node)
{
    reorderedNodes_.remove(node);
}

void ConcreteChangeSet::removeRenamedNode(Node* node)
{
    renamedNodes_.remove(node);
}

void ConcreteChangeSet::removeCreatedDynamicAttribute(Attribute* attribute)
{
    createdDynamicAttributes_.remove(attribute);
}

void ConcreteChangeSet::removeDestroyedDynamicAttribute(Attribute* attribute)
{
    destroyedDynamicAttributes_.remove(attribute);
}

void ConcreteChangeSet::removeRenamedDynamicAttribute(Attribute* attribute)
{
    renamedDynamicAttributes_.remove(attribute);
}

void ConcreteChangeSet::removeCreatedDynamicAttributeArray(AttributeArray* array)
{
    createdDynamicAttributeArrays_.remove(array);
}

void ConcreteChangeSet::removeDestroyedDynamicAttributeArray(AttributeArray* array)
{
    destroyedDynamicAttributeArrays_.remove(array);
}

void ConcreteChangeSet::removeRenamedDynamicAttributeArray(AttributeArray* array)
{
    renamedDynamicAttributeArrays_.remove(array);
}

void ConcreteChangeSet::removeResizedAttributeArray(AttributeArray* array)
{
    resizedAttributeArrays_.remove(array);
}

void ConcreteChangeSet::removeCreatedReference(Attribute* attribute)
{
    createdReferences_.remove(attribute);
}

void ConcreteChangeSet::removeDestroyedReference(Attribute* attribute)
{
    destroyedReferences_.remove(attribute);
}

void ConcreteChangeSet::removeChangedAttribute(Attribute* attribute)
{
    changedAttributes_.remove(attribute);
}

// --- Counts ---

unsigned int ConcreteChangeSet::CreatedNodeCount() const
{
    return static_cast<unsigned int>(createdNodes_.count());
}

unsigned int ConcreteChangeSet::DestroyedNodeCount() const
{
    return static_cast<unsigned int>(destroyedNodes_.count());
}

unsigned int ConcreteChangeSet::ReparentedNodeCount() const
{
    return static_cast<unsigned int>(reparentedNodes_.count());
}

unsigned int ConcreteChangeSet::ReorderedNodeCount() const
{
    return static_cast<unsigned int>(reorderedNodes_.count());
}

unsigned int ConcreteChangeSet::RenamedNodeCount() const
{
    return static_cast<unsigned int>(renamedNodes_.count());
}

unsigned int ConcreteChangeSet::ChangedNodeCount() const
{
    return static_cast<unsigned int>(changedNodes_.count());
}

unsigned int ConcreteChangeSet::CreatedDynamicAttributeCount() const
{
    return static_cast<unsigned int>(createdDynamicAttributes_.count());
}

unsigned int ConcreteChangeSet::DestroyedDynamicAttributeCount() const
{
    return static_cast<unsigned int>(destroyedDynamicAttributes_.count());
}

unsigned int ConcreteChangeSet::RenamedDynamicAttributeCount() const
{
    return static_cast<unsigned int>(renamedDynamicAttributes_.count());
}

unsigned int ConcreteChangeSet::CreatedDynamicAttributeArrayCount() const
{
    return static_cast<unsigned int>(createdDynamicAttributeArrays_.count());
}

unsigned int ConcreteChangeSet::DestroyedDynamicAttributeArrayCount() const
{
    return static_cast<unsigned int>(destroyedDynamicAttributeArrays_.count());
}

unsigned int ConcreteChangeSet::RenamedDynamicAttributeArrayCount() const
{
    return static_cast<unsigned int>(renamedDynamicAttributeArrays_.count());
}

unsigned int ConcreteChangeSet::ResizedAttributeArrayCount() const
{
    return static_cast<unsigned int>(resizedAttributeArrays_.count());
}

unsigned int ConcreteChangeSet::CreatedReferenceCount() const
{
    return static_cast<unsigned int>(createdReferences_.count());
}

unsigned int ConcreteChangeSet::DestroyedReferenceCount() const
{
    return static_cast<unsigned int>(destroyedReferences_.count());
}

unsigned int ConcreteChangeSet::ChangedAttributeCount() const
{
    return static_cast<unsigned int>(changedAttributes_.count());
}

// --- Entries ---

Node* ConcreteChangeSet::CreatedNode(unsigned int index) const
{
    return createdNodes_.at(index);
}

Node* ConcreteChangeSet::DestroyedNode(unsigned int index) const
{
    return destroyedNodes_.at(index);
}

Node* ConcreteChangeSet::ReparentedNode(unsigned int index) const
{
    return reparentedNodes_.at(index);
}

Node* ConcreteChangeSet::ReorderedNode(unsigned int index) const
{
    return reorderedNodes_.at(index);
}

Node* ConcreteChangeSet::RenamedNode(unsigned int index) const
{
    return renamedNodes_.at(index);
}

Node* ConcreteChangeSet::ChangedNode(unsigned int index) const
{
    return changedNodes_.at(index);
}

Attribute* ConcreteChangeSet::CreatedDynamicAttribute(unsigned int index) const
{
    return createdDynamicAttributes_.at(index);
}

Attribute* ConcreteChangeSet::DestroyedDynamicAttribute(unsigned int index) const
{
    return destroyedDynamicAttributes_.at(index);
}

Attribute* ConcreteChangeSet::RenamedDynamicAttribute(unsigned int index) const
{
    return renamedDynamicAttributes_.at(index);
}

AttributeArray* ConcreteChangeSet::CreatedDynamicAttributeArray(unsigned int index) const
{
    return createdDynamicAttributeArrays_.at(index);
}

AttributeArray* ConcreteChangeSet::DestroyedDynamicAttributeArray(unsigned int index) const
{
    return destroyedDynamicAttributeArrays_.at(index);
}

AttributeArray* ConcreteChangeSet::RenamedDynamicAttributeArray(unsigned int index) const
{
    return renamedDynamicAttributeArrays_.at(index);
}

AttributeArray* ConcreteChangeSet::ResizedAttributeArray(unsigned int index) const
{
    return resizedAttributeArrays_.at(index);
}

Attribute* ConcreteChangeSet::CreatedReference(unsigned int index) const
{
    return createdReferences_.at(index);
}

Attribute* ConcreteChangeSet::DestroyedReference(unsigned int index) const
{
    return destroyedReferences_.at(index);
}

Attribute* ConcreteChangeSet::ChangedAttribute(unsigned int index) const
{
    return changedAttributes_.at(index);
}

// --- The whole ---

void ConcreteChangeSet::assign(const ChangeSet& other)
{
    if (&other == this)
        return;
    holdsOthers_ = true; // it may
    assignList(createdNodes_, other, &ChangeSet::CreatedNodeCount, &ChangeSet::CreatedNode);
    assignList(destroyedNodes_, other, &ChangeSet::DestroyedNodeCount, &ChangeSet::DestroyedNode);
    assignList(reparentedNodes_, other, &ChangeSet::ReparentedNodeCount, &ChangeSet::ReparentedNode);
    assignList(reorderedNodes_, other, &ChangeSet::ReorderedNodeCount, &ChangeSet::ReorderedNode);
    assignList(renamedNodes_, other, &ChangeSet::RenamedNodeCount, &ChangeSet::RenamedNode);
    assignList(changedNodes_, other, &ChangeSet::ChangedNodeCount, &ChangeSet::ChangedNode);
    assignList(createdDynamicAttributes_, other, &ChangeSet::CreatedDynamicAttributeCount,
               &ChangeSet::CreatedDynamicAttribute);
    assignList(destroyedDynamicAttributes_, other, &ChangeSet::DestroyedDynamicAttributeCount,
               &ChangeSet::DestroyedDynamicAttribute);
    assignList(renamedDynamicAttributes_, other, &ChangeSet::RenamedDynamicAttributeCount,
               &ChangeSet::RenamedDynamicAttribute);
    assignList(createdDynamicAttributeArrays_, other, &ChangeSet::CreatedDynamicAttributeArrayCount,
               &ChangeSet::CreatedDynamicAttributeArray);
    assignList(destroyedDynamicAttributeArrays_, other, &ChangeSet::DestroyedDynamicAttributeArrayCount,
               &ChangeSet::DestroyedDynamicAttributeArray);
    assignList(renamedDynamicAttributeArrays_, other, &ChangeSet::RenamedDynamicAttributeArrayCount,
               &ChangeSet::RenamedDynamicAttributeArray);
    assignList(resizedAttributeArrays_, other, &ChangeSet::ResizedAttributeArrayCount,
               &ChangeSet::ResizedAttributeArray);
    assignList(createdReferences_, other, &ChangeSet::CreatedReferenceCount, &ChangeSet::CreatedReference);
    assignList(destroyedReferences_, other, &ChangeSet::DestroyedReferenceCount, &ChangeSet::DestroyedReference);
    assignList(changedAttributes_, other, &ChangeSet::ChangedAttributeCount, &ChangeSet::ChangedAttribute);
}

void ConcreteChangeSet::clear()
{
    forEachUsedList([](auto& list, std::uint32_t) { list.clear(); });
    holdsOthers_ = false;
}

void ConcreteChangeSet::reserve()
{
    createdNodes_.reserve(kManyCreatedNodes);
    destroyedNodes_.reserve(kOthers);
    reparentedNodes_.reserve(kOthers);
    reorderedNodes_.reserve(kOthers);
    renamedNodes_.reserve(kOthers);
    changedNodes_.reserve(kOthers);
    createdDynamicAttributes_.reserve(kOthers);
    destroyedDynamicAttributes_.reserve(kOthers);
    renamedDynamicAttributes_.reserve(kOthers);
    createdDynamicAttributeArrays_.reserve(kOthers);
    destroyedDynamicAttributeArrays_.reserve(kOthers);
    renamedDynamicAttributeArrays_.reserve(kOthers);
    resizedAttributeArrays_.reserve(kOthers);
    createdReferences_.reserve(kReferences);
    destroyedReferences_.reserve(kReferences);
    changedAttributes_.reserve(kReferences);
}

void ConcreteChangeSet::stableSortCreatedNodes(BreadthFirstSortFunctor&)
{
    stableSortByDepth(createdNodes_);
}

void ConcreteChangeSet::stableSortDestroyedNodes(BreadthFirstSortFunctor&)
{
    stableSortByDepth(destroyedNodes_);
    destroyedNodes_.reverse();
}

} // namespace db2
