#include <db2/Node.h>

#include <db2/NameHash.h>

#include "ElementRecords.h"
#include "OutOfMemory.h"

#include <cwchar>
#include <new>
#include <utility>

namespace db2 {
namespace {

/// From this many children on a node has an index of their names, and likewise of its dynamic elements' names.
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

Element* findLegacyByName(const Node& node, const wchar_t* name)
{
    for (unsigned int i = 0; name != nullptr && i < node.getLegacyElementCount(); ++i)
        if (sameName(node.getLegacyElement(i), name))
            return node.getLegacyElement(i);
    return nullptr;
}

} // namespace

// --- Tree ---

bool Node::isDescendantOf(const Node* other) const
{
    if (other == nullptr)
        return false;
    const Node* ancestor = parent_;
    while (ancestor != nullptr && ancestor != other)
        ancestor = ancestor->parent_;
    return ancestor != nullptr;
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
    const std::size_t inOwnBlocks = extras_ != nullptr ? extras_->elements.size() : 0;
    return elementsInBlock() + static_cast<unsigned int>(inOwnBlocks);
}

Element* Node::getElementInOwnBlock(unsigned int index) const
{
    return index < extras_->elements.size() ? extras_->elements[index] : nullptr;
}

unsigned int Node::getDynamicElementCount() const
{
    return extras_ != nullptr ? getElementCount() - template_->getElementCount() : 0;
}

Element* Node::getDynamicElement(unsigned int index) const
{
    return index < getDynamicElementCount() ? getElement(template_->getElementCount() + index) : nullptr;
}

Element* Node::getNextDynamicElement(const Element* element) const
{
    for (unsigned int i = getDynamicElementCount(); i-- > 0;)
        if (getDynamicElement(i) == element)
            return getDynamicElement(i + 1);
    return nullptr;
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
    {
        // As for children: the names on one node differ in their hashes.
        auto* const element = static_cast<Element*>(extras_->dynamicNames->find(hashName(name)));
        return element != nullptr && sameName(element, name) ? element : nullptr;
    }
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

Attribute* Node::findLegacyAttributeByName(const wchar_t* name) const
{
    return ofKind<Attribute>(findLegacyByName(*this, name), false);
}

AttributeArray* Node::findLegacyAttributeArrayByName(const wchar_t* name) const
{
    return ofKind<AttributeArray>(findLegacyByName(*this, name), true);
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

bool NodeExtras::reserveElement()
{
    return reserveOneMore(elements);
}

bool NodeExtras::reserveLegacyElement()
{
    return reserveOneMore(legacyElements);
}

bool NodeExtras::reserveDynamicElement(std::size_t dynamicCount)
{
    if (!reserveElement())
        return false;
    if (!dynamicNames && dynamicCount + 1 >= kIndexFrom)
    {
        NameIndex index;
        if (!index.reserveInsert())
            return false;
        for (std::size_t i = elements.size() - dynamicCount; i < elements.size(); ++i)
            index.insert(hashName(elements[i]->getName()), elements[i]);
        dynamicNames = std::move(index);
    }
    return !dynamicNames || dynamicNames->reserveInsert();
}

} // namespace db2
