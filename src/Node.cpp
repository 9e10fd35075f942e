#include <db2/Node.h>

#include <db2/NameHash.h>

#include "ElementPosition.h"
#include "ElementRecords.h"
#include "OutOfMemory.h"

#include <cwchar>
#include <new>
#include <optional>
#include <utility>

namespace db2 {
namespace {

/// From this many children on a node has an index of their names, and likewise of its dynamic and its legacy elements'.
constexpr unsigned int kIndexFrom = 3;

bool sameName(const Element* element, const wchar_t* name)
{
    return std::wcscmp(element->getName(), name) == 0;
}

template <class Kind>
Kind* ofKind(Element* element, bool isArray)
{
    return element != nullptr && element->isAttributeArray() == isArray ? static_cast<Kind*>(element) : nullptr;
}

/// The element of an index that has just that name. The names in one index differ in their hashes, so no other element can
/// have the text when the one of its hash does not.
Element* findByName(const NameIndex& index, const wchar_t* name)
{
    auto* const element = static_cast<Element*>(index.find(hashName(name)));
    return element != nullptr && sameName(element, name) ? element : nullptr;
}

/// Prepares for one name more; makes the index when there are enough of them.
/// @param first, count  the elements that are there. @return false when memory is out.
bool reserveName(std::optional<NameIndex>& names, Element* const* first, std::size_t count)
{
    if (!names && count + 1 >= kIndexFrom)
    {
        NameIndex index;
        if (!index.reserveInsert())
            return false;
        for (std::size_t i = 0; i < count; ++i)
            index.insert(hashName(first[i]->getName()), first[i]);
        names = std::move(index);
    }
    return !names || names->reserveInsert();
}

} // namespace

// --- Tree ---

/// Whoever is above both cannot be below the other one, so the way up ends there. How far it is nobody knows: the other's
/// ancestors are tried as such at distances that double, each time from here on, and a little further up than there.
bool Node::isDescendantOf(const Node* other) const
{
    if (other == nullptr)
        return false;
    const Node* aboveOther = other;
    for (std::size_t reach = 1;; reach *= 2)
    {
        for (std::size_t step = 0; step < reach && aboveOther != nullptr; ++step)
            aboveOther = aboveOther->parent_;
        const Node* ancestor = parent_;
        for (std::size_t step = 0; step < 4 * reach || aboveOther == nullptr; ++step)
        {
            if (ancestor == other)
                return true;
            if (ancestor == aboveOther) // also at the top
                return false;
            if (ancestor == nullptr)
                return false;
            ancestor = ancestor->parent_;
        }
    }
}

Node* Node::findChildByName(const wchar_t* name) const
{
    if (name == nullptr)
        return nullptr;
    // Siblings differ in their hashes, so no other child can have the text when the one of its hash does not.
    Node* const child = findChildByHash(hashName(name));
    return child != nullptr && child->name_ == name ? child : nullptr;
}

Node* Node::findChildByHash(std::uint32_t nameHash) const
{
    if (childIndex_ != nullptr)
        return static_cast<Node*>(childIndex_->find(nameHash));
    Node* child = firstChild_;
    while (child != nullptr && child->nameHash_ != nameHash)
        child = child->nextSibling_;
    return child;
}

// --- Elements ---

unsigned int Node::getElementCount() const
{
    return template_->getElementCount() + getDynamicElementCount();
}

Element* Node::getElementInOwnBlock(unsigned int index) const
{
    const std::size_t unknown = extras_->unknownElements.size();
    return index < unknown ? extras_->unknownElements[index]
                           : getDynamicElement(index - static_cast<unsigned int>(unknown));
}

unsigned int Node::getDynamicElementCount() const
{
    return extras_ != nullptr ? static_cast<unsigned int>(extras_->dynamicElements.size()) : 0;
}

Element* Node::getDynamicElement(unsigned int index) const
{
    return index < getDynamicElementCount() ? extras_->dynamicElements[index] : nullptr;
}

Element* Node::getNextDynamicElement(const Element* element) const
{
    if (extras_ == nullptr)
        return nullptr;
    const std::size_t next = positionOf(element, extras_->dynamicElements) + 1;
    return next < extras_->dynamicElements.size() ? extras_->dynamicElements[next] : nullptr;
}

unsigned int Node::getLegacyElementCount() const
{
    return extras_ != nullptr ? static_cast<unsigned int>(extras_->legacyElements.size()) : 0;
}

Element* Node::getLegacyElement(unsigned int index) const
{
    return index < getLegacyElementCount() ? extras_->legacyElements[index] : nullptr;
}

Element* Node::findElementByName(const wchar_t* name) const
{
    if (name == nullptr)
        return nullptr;
    const unsigned int templateIndex = template_->findElementByName(name);
    if (templateIndex != NodeTemplate::kEndOfList)
        return getElement(templateIndex);
    if (extras_ != nullptr && extras_->dynamicNames)
        return findByName(*extras_->dynamicNames, name);
    for (unsigned int i = 0; i < getDynamicElementCount(); ++i)
        if (sameName(getDynamicElement(i), name))
            return getDynamicElement(i);
    return nullptr;
}

Attribute* Node::findAttributeByName(const wchar_t* name) const
{
    return ofKind<Attribute>(findElementByName(name), false);
}

AttributeArray* Node::findAttributeArrayByName(const wchar_t* name) const
{
    return ofKind<AttributeArray>(findElementByName(name), true);
}

Element* Node::findLegacyElementByName(const wchar_t* name) const
{
    if (name == nullptr || extras_ == nullptr)
        return nullptr;
    if (extras_->legacyNames)
        return findByName(*extras_->legacyNames, name);
    for (Element* const element : extras_->legacyElements)
        if (sameName(element, name))
            return element;
    return nullptr;
}

Attribute* Node::findLegacyAttributeByName(const wchar_t* name) const
{
    return ofKind<Attribute>(findLegacyElementByName(name), false);
}

AttributeArray* Node::findLegacyAttributeArrayByName(const wchar_t* name) const
{
    return ofKind<AttributeArray>(findLegacyElementByName(name), true);
}

// --- Names that are free ---

Status Node::isChildNameValid(const wchar_t* name, const Node* exclude) const
{
    const Node* const bearer = findChildByHash(hashName(name));
    return bearer == nullptr || bearer == exclude ? Status::kSuccess : Status::kDuplicateChildName;
}

bool Node::isDynamicElementNameUnique(const wchar_t* name) const
{
    if (extras_ == nullptr)
        return true;
    const std::uint32_t hash = hashName(name);
    if (extras_->dynamicNames)
        return !extras_->dynamicNames->contains(hash);
    for (unsigned int i = 0; i < getDynamicElementCount(); ++i)
        if (hashName(getDynamicElement(i)->getName()) == hash)
            return false;
    return true;
}

bool Node::isLegacyElementNameUnique(const wchar_t* name) const
{
    if (extras_ == nullptr)
        return true;
    const std::uint32_t hash = hashName(name);
    if (extras_->legacyNames)
        return !extras_->legacyNames->contains(hash);
    for (const Element* const element : extras_->legacyElements)
        if (hashName(element->getName()) == hash)
            return false;
    return true;
}

// --- Flags ---

void Node::setLegacyNodeHandled()
{
    if (isLegacy())
        setFlag(NodeFlag::kLegacyHandled);
}

// --- Tree links ---

void Node::linkUnder(Node* parent, Node* next)
{
    parent_ = parent;
    nextSibling_ = next;
    previousSibling_ = next != nullptr ? next->previousSibling_ : parent->lastChild_;
    (previousSibling_ != nullptr ? previousSibling_->nextSibling_ : parent->firstChild_) = this;
    (next != nullptr ? next->previousSibling_ : parent->lastChild_) = this;
}

/// The parent stays readable: reports sort destroyed nodes by their depth.
void Node::unlink()
{
    (previousSibling_ != nullptr ? previousSibling_->nextSibling_ : parent_->firstChild_) = nextSibling_;
    (nextSibling_ != nullptr ? nextSibling_->previousSibling_ : parent_->lastChild_) = previousSibling_;
    previousSibling_ = nullptr;
    nextSibling_ = nullptr;
}

// --- Child-name index ---

/// Prepares for one child more. An index made here for a child that then does not come is as good as none.
bool Node::reserveChildEntry()
{
    if (childIndex_ == nullptr)
    {
        unsigned int children = 0;
        for (const Node* child = firstChild_; child != nullptr; child = child->nextSibling_)
            ++children;
        if (children + 1 < kIndexFrom)
            return true;
        void* const place = KQTLAlloc(sizeof(NameIndex), alignof(NameIndex));
        if (place == nullptr)
            return false;
        auto* const index = ::new (place) NameIndex;
        if (!index->reserveInsert())
        {
            index->~NameIndex();
            KQTLFree(index);
            return false;
        }
        childIndex_ = index;
        for (Node* child = firstChild_; child != nullptr; child = child->nextSibling_)
            childIndex_->insert(child->nameHash_, child);
    }
    return childIndex_->reserveInsert();
}

/// Prepares for another name of a child that is there already.
bool Node::reserveRenamedEntry()
{
    return childIndex_ == nullptr || childIndex_->reserveInsert();
}

void Node::enterChild(Node* child)
{
    if (childIndex_ != nullptr)
        childIndex_->insert(child->nameHash_, child);
}

void Node::removeChildEntry(const Node* child)
{
    if (childIndex_ != nullptr)
        childIndex_->remove(child->nameHash_);
}

void Node::dropChildIndex()
{
    if (childIndex_ == nullptr)
        return;
    childIndex_->~NameIndex();
    KQTLFree(childIndex_);
    childIndex_ = nullptr;
}

// --- Elements with blocks of their own ---

NodeExtras* Node::getOrMakeExtras()
{
    if (extras_ == nullptr)
        if (void* const place = KQTLAlloc(sizeof(NodeExtras), alignof(NodeExtras)))
            extras_ = ::new (place) NodeExtras;
    return extras_;
}

bool NodeExtras::reserveUnknownElement()
{
    return reserveOneMore(unknownElements);
}

bool NodeExtras::reserveLegacyElement()
{
    return reserveOneMore(legacyElements) && reserveName(legacyNames, legacyElements.data(), legacyElements.size());
}

bool NodeExtras::reserveDynamicElement()
{
    return reserveName(dynamicNames, dynamicElements.data(), dynamicElements.size()) && reserveOneMore(dynamicElements);
}

} // namespace db2
