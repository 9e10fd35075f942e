#include "MirrorTree.h"

#include "TreeDump.h"

#include <db2/AttributeIterators.h>
#include <db2/NodeIterators.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace db2test {
namespace {

template <class T>
void eraseFirst(std::vector<const T*>& list, const T* entry)
{
    const auto found = std::find(list.begin(), list.end(), entry);
    if (found != list.end())
        list.erase(found);
}

/// Calls @p visit for each entry of one list of a report.
template <class T, class Visit>
void forEach(const ChangeSet& changes, unsigned int (ChangeSet::*count)() const,
             T* (ChangeSet::*entry)(unsigned int) const, Visit visit)
{
    for (unsigned int i = 0; i < (changes.*count)(); ++i)
        visit(static_cast<const T&>(*(changes.*entry)(i)));
}

} // namespace

MirrorTree::MirrorTree(const Node* root) : root_(root)
{
    ConstNodeIterator walk(root);
    walk.includeRoot(true);
    while (walk.next())
    {
        addNode(*walk.node());
        readDynamicElements(*walk.node());
        readChildren(*walk.node());
    }
    walk.begin(root);
    while (walk.next())
        for (AttributeIterator attributes(walk.node()); attributes.next();)
            readReference(*attributes.attr());
}

// --- Reports ---

void MirrorTree::onReportChanges(ChangeManager*, const ChangeSet& changes, bool)
{
    using Set = ChangeSet;
    std::set<const Node*> parents; // whose children may have another order
    std::set<const Node*> owners;  // whose dynamic elements may

    // What went: first, because an object that was taken back in between is among what came as well.
    forEach(changes, &Set::DestroyedReferenceCount, &Set::DestroyedReference,
            [this](const Attribute& referencer) { references_.erase(&referencer); });
    forEach(changes, &Set::DestroyedDynamicAttributeCount, &Set::DestroyedDynamicAttribute,
            [this](const Element& element) { dropDynamicElement(element); });
    forEach(changes, &Set::DestroyedDynamicAttributeArrayCount, &Set::DestroyedDynamicAttributeArray,
            [this](const Element& element) { dropDynamicElement(element); });
    forEach(changes, &Set::DestroyedNodeCount, &Set::DestroyedNode, [this](const Node& node) { dropNode(node); });

    // What came
    forEach(changes, &Set::CreatedNodeCount, &Set::CreatedNode, [&](const Node& node) {
        EXPECT_TRUE(nodes_.contains(node.getParent())) << "a created node without its parent";
        addNode(node);
        parents.insert(node.getParent());
    });
    const auto addDynamicElement = [&](const Element& element) {
        addElement(element);
        owners.insert(element.getNode());
    };
    forEach(changes, &Set::CreatedDynamicAttributeCount, &Set::CreatedDynamicAttribute, addDynamicElement);
    forEach(changes, &Set::CreatedDynamicAttributeArrayCount, &Set::CreatedDynamicAttributeArray, addDynamicElement);
    forEach(changes, &Set::CreatedReferenceCount, &Set::CreatedReference,
            [this](const Attribute& referencer) { readReference(referencer); });

    // What is another way. Elements of what was destroyed later in the unit are still among the resized and the written.
    forEach(changes, &Set::ReparentedNodeCount, &Set::ReparentedNode, [&](const Node& node) {
        leaveParent(node);
        nodes_.at(&node).parent = node.getParent();
        nodes_.at(&node).name = node.getName().c_str(); // made unique below the new parent
        parents.insert(node.getParent());
    });
    forEach(changes, &Set::ReorderedNodeCount, &Set::ReorderedNode, [&](const Node& node) { parents.insert(&node); });
    forEach(changes, &Set::RenamedNodeCount, &Set::RenamedNode,
            [this](const Node& node) { nodes_.at(&node).name = node.getName().c_str(); });
    const auto rename = [this](const Element& element) { elements_.at(&element).name = element.getName(); };
    forEach(changes, &Set::RenamedDynamicAttributeCount, &Set::RenamedDynamicAttribute, rename);
    forEach(changes, &Set::RenamedDynamicAttributeArrayCount, &Set::RenamedDynamicAttributeArray, rename);
    forEach(changes, &Set::ResizedAttributeArrayCount, &Set::ResizedAttributeArray,
            [this](const AttributeArray& array) {
                if (!array.isDestroyed())
                    elements_.at(&array).size = array.getSize();
            });
    forEach(changes, &Set::ChangedAttributeCount, &Set::ChangedAttribute, [this](const Attribute& attribute) {
        if (!attribute.isDestroyed())
            readValue(attribute);
    });
    for (const Node* const parent : parents)
        readChildren(*parent);
    for (const Node* const owner : owners)
        readDynamicElements(*owner);
}

void MirrorTree::onClear(ChangeManager*)
{
    nodes_.clear();
    elements_.clear();
    references_.clear();
    nodes_[root_].name = root_->getName().c_str();
    nodes_[root_].typeName = root_->getTypeName().c_str();
}

void MirrorTree::addNode(const Node& node)
{
    EXPECT_FALSE(nodes_.contains(&node)) << "created twice";
    MirrorNode& mirror = nodes_[&node];
    mirror.name = node.getName().c_str();
    mirror.typeName = node.getTypeName().c_str();
    mirror.parent = node.getParent();
    const unsigned int inTemplate = node.getElementCount() - node.getDynamicElementCount();
    for (unsigned int i = 0; i < inTemplate; ++i)
    {
        mirror.templateElements.push_back(node.getElement(i));
        addElement(*node.getElement(i));
    }
}

void MirrorTree::addElement(const Element& element)
{
    MirrorElement& mirror = elements_[&element];
    mirror.node = element.getNode();
    mirror.name = element.getName();
    mirror.typeId = element.getTypeId();
    mirror.isArray = element.isAttributeArray();
    if (mirror.isArray)
        mirror.size = static_cast<const AttributeArray&>(element).getSize();
    else
        readValue(static_cast<const Attribute&>(element));
}

void MirrorTree::dropNode(const Node& node)
{
    EXPECT_TRUE(nodes_.contains(&node)) << "destroyed, but never created";
    leaveParent(node);
    for (const Element* const element : nodes_[&node].templateElements)
        elements_.erase(element);
    nodes_.erase(&node);
}

void MirrorTree::dropDynamicElement(const Element& element)
{
    const auto found = elements_.find(&element);
    ASSERT_NE(found, elements_.end()) << "destroyed, but never created";
    eraseFirst(nodes_[found->second.node].dynamicElements, &element);
    elements_.erase(found);
}

void MirrorTree::leaveParent(const Node& node)
{
    const auto parent = nodes_.find(nodes_[&node].parent);
    if (parent != nodes_.end()) // else it was destroyed in the same unit
        eraseFirst(parent->second.children, &node);
}

void MirrorTree::readChildren(const Node& parent)
{
    std::vector<const Node*>& children = nodes_.at(&parent).children;
    children.clear();
    for (const Node* child = parent.getFirstChild(); child != nullptr; child = child->getNextSibling())
        children.push_back(child);
}

void MirrorTree::readDynamicElements(const Node& node)
{
    std::vector<const Element*>& elements = nodes_.at(&node).dynamicElements;
    elements.clear();
    for (unsigned int i = 0; i < node.getDynamicElementCount(); ++i)
    {
        elements.push_back(node.getDynamicElement(i));
        if (!elements_.contains(elements.back())) // of a tree that is read whole
            addElement(*elements.back());
    }
}

void MirrorTree::readReference(const Attribute& referencer)
{
    if (referencer.getReference() != nullptr)
        references_[&referencer] = referencer.getReference();
}

void MirrorTree::readValue(const Attribute& attribute)
{
    if (attribute.getReference() == nullptr)
        elements_.at(&attribute).value = dumpValue(attribute.getValue());
}

// --- Text ---

std::wstring MirrorTree::pathOf(const Node* node) const
{
    std::wstring path;
    for (; node != root_; node = nodes_.at(node).parent)
    {
        if (!nodes_.contains(node))
            return L"!" + path;
        path.insert(0, L"|" + nodes_.at(node).name);
    }
    return path;
}

std::wstring MirrorTree::pathOf(const Attribute* attribute) const
{
    const Element* const element =
        attribute->isAttributeArrayElement() ? static_cast<const Element*>(attribute->getParentArray()) : attribute;
    const auto found = elements_.find(element);
    if (found == elements_.end())
        return L"!";
    std::wstring path = pathOf(found->second.node) + L'.' + found->second.name;
    if (attribute->isAttributeArrayElement())
        path += L'[' + std::to_wstring(attribute->getIndex()) + L']';
    return path;
}

void MirrorTree::appendElement(std::vector<std::wstring>& lines, const Node* node, const Element* element) const
{
    const auto found = elements_.find(element);
    if (found == elements_.end())
        return lines.push_back(L"! unknown element");
    const MirrorElement& mirror = found->second;
    std::wstring line = L"  " + mirror.name + L" type " + std::to_wstring(mirror.typeId);
    if (mirror.node != node)
        line += L" ! of another node";
    if (mirror.isArray)
        line += L" size " + std::to_wstring(mirror.size);
    else if (const auto reference = references_.find(static_cast<const Attribute*>(element));
             reference != references_.end())
        line += L" -> " + pathOf(reference->second);
    else
        line += L" = " + mirror.value;
    lines.push_back(line);
}

std::vector<std::wstring> MirrorTree::lines() const
{
    std::vector<std::wstring> lines;
    std::vector<const Node*> pending{root_};
    while (!pending.empty())
    {
        const Node* const node = pending.back();
        pending.pop_back();
        const MirrorNode& mirror = nodes_.at(node);
        lines.push_back(pathOf(node) + L" of type " + mirror.typeName);
        for (const Element* const element : mirror.templateElements)
            appendElement(lines, node, element);
        for (const Element* const element : mirror.dynamicElements)
            appendElement(lines, node, element);
        for (auto child = mirror.children.rbegin(); child != mirror.children.rend(); ++child)
        {
            if (!nodes_.contains(*child) || nodes_.at(*child).parent != node)
                lines.push_back(L"! a child that is not known as one");
            else
                pending.push_back(*child);
        }
    }
    std::vector<std::wstring> ofItems; // their order is not the tree's
    for (const auto& [referencer, referenced] : references_)
        if (referencer->isAttributeArrayElement())
            ofItems.push_back(pathOf(referencer) + L" -> " + pathOf(referenced));
    std::sort(ofItems.begin(), ofItems.end());
    lines.insert(lines.end(), ofItems.begin(), ofItems.end());
    lines.push_back(std::to_wstring(nodes_.size()) + L" nodes, " + std::to_wstring(elements_.size()) + L" elements, " +
                    std::to_wstring(references_.size()) + L" references");
    return lines;
}

} // namespace db2test
