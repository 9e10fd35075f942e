#include "ChangeLists.h"

#include "TreeDump.h"

#include <db2/AttributeIterators.h>
#include <db2/Flags.h>
#include <db2/Node.h>
#include <db2/NodeIterators.h>

#include <gtest/gtest.h>

#include <functional>
#include <type_traits>
#include <unordered_map>

namespace db2test {
namespace {

template <class T>
T* pick(const Listed& listed);
template <>
Node* pick(const Listed& listed)
{
    return listed.node;
}
template <>
Attribute* pick(const Listed& listed)
{
    return listed.attribute;
}
template <>
AttributeArray* pick(const Listed& listed)
{
    return listed.array;
}

std::wstring textOf(const Node* node)
{
    return pathOf(node);
}
std::wstring textOf(const Attribute* attribute)
{
    return pathOf(attribute);
}
std::wstring textOf(const AttributeArray* array)
{
    return pathOf(array->getNode()) + L':' + array->getName();
}

void addRenamedNode(ChangeSet& changes, Node* node)
{
    changes.addRenamedNode(node, L"old name");
}

template <class T, auto Add, auto Remove, auto Count, auto At>
ChangeListRow row(const wchar_t* what, std::uint32_t flag)
{
    return {what,
            [](ChangeSet& changes, const Listed& listed) { std::invoke(Add, changes, pick<T>(listed)); },
            [](ChangeSet& changes, const Listed& listed) { std::invoke(Remove, changes, pick<T>(listed)); },
            [](const ChangeSet& changes) { return std::invoke(Count, changes); },
            [](const ChangeSet& changes, unsigned int index) -> const void* { return std::invoke(At, changes, index); },
            [](const Listed& listed) -> const void* { return pick<T>(listed); },
            [](const ChangeSet& changes, unsigned int index) { return textOf(std::invoke(At, changes, index)); },
            [](const ChangeSet& changes, unsigned int index) { return std::invoke(At, changes, index)->getFlags(); },
            std::is_same_v<T, Node>,
            flag};
}

/// The change bits that each object should have: those of the lists that it is in.
using BitsOfObjects = std::unordered_map<const void*, std::uint32_t>;

BitsOfObjects bitsByList(const ChangeSet& changes)
{
    BitsOfObjects bits;
    for (const ChangeListRow& list : changeListRows())
        for (unsigned int i = 0; i < list.count(changes); ++i)
        {
            std::uint32_t& known = bits[list.at(changes, i)];
            EXPECT_EQ(known & list.flag, 0u)
                << "twice in a list: " << ::testing::PrintToString(list.what + (L' ' + list.pathAt(changes, i)));
            EXPECT_NE(list.flagsAt(changes, i) & list.flag, 0u)
                << "without its bit: " << ::testing::PrintToString(list.what + (L' ' + list.pathAt(changes, i)));
            known |= list.flag;
        }
    return bits;
}

std::wstring nameOf(const Node& node)
{
    return node.getName().c_str();
}
std::wstring nameOf(const Element& element)
{
    return element.getName();
}

template <class Object>
void expectBits(const Object& object, std::uint32_t changeFlags, const BitsOfObjects& expected)
{
    const auto found = expected.find(&object);
    EXPECT_EQ(object.getFlags() & changeFlags, found != expected.end() ? found->second : 0u)
        << ::testing::PrintToString(nameOf(object));
}

void expectBitsOfElements(const Node& node, const BitsOfObjects& expected)
{
    for (unsigned int i = 0; i < node.getElementCount(); ++i)
        expectBits(*node.getElement(i), ElementFlag::kChangeFlags, expected);
    for (AttributeIterator items(&node); items.next();)
        if (items.attr()->isAttributeArrayElement())
            expectBits(*items.attr(), ElementFlag::kChangeFlags, expected);
}

} // namespace

const std::vector<ChangeListRow>& changeListRows()
{
    using Set = ChangeSet;
    static const std::vector<ChangeListRow> rows{
        row<Node, &Set::addCreatedNode, &Set::removeCreatedNode, &Set::CreatedNodeCount, &Set::CreatedNode>(
            L"created node", NodeFlag::kCreated),
        row<Node, &Set::addDestroyedNode, &Set::removeDestroyedNode, &Set::DestroyedNodeCount, &Set::DestroyedNode>(
            L"destroyed node", NodeFlag::kDestroyedNow),
        row<Node, &Set::addReparentedNode, &Set::removeReparentedNode, &Set::ReparentedNodeCount, &Set::ReparentedNode>(
            L"reparented node", NodeFlag::kReparented),
        row<Node, &Set::addReorderedNode, &Set::removeReorderedNode, &Set::ReorderedNodeCount, &Set::ReorderedNode>(
            L"reordered node", NodeFlag::kReordered),
        row<Node, &addRenamedNode, &Set::removeRenamedNode, &Set::RenamedNodeCount, &Set::RenamedNode>(
            L"renamed node", NodeFlag::kRenamed),
        row<Node, &Set::addChangedNode, &Set::removeChangedNode, &Set::ChangedNodeCount, &Set::ChangedNode>(
            L"changed node", NodeFlag::kChanged),
        row<Attribute, &Set::addCreatedDynamicAttribute, &Set::removeCreatedDynamicAttribute,
            &Set::CreatedDynamicAttributeCount, &Set::CreatedDynamicAttribute>(L"created dynamic attribute",
                                                                               ElementFlag::kCreated),
        row<Attribute, &Set::addDestroyedDynamicAttribute, &Set::removeDestroyedDynamicAttribute,
            &Set::DestroyedDynamicAttributeCount, &Set::DestroyedDynamicAttribute>(L"destroyed dynamic attribute",
                                                                                   ElementFlag::kDestroyedNow),
        row<Attribute, &Set::addRenamedDynamicAttribute, &Set::removeRenamedDynamicAttribute,
            &Set::RenamedDynamicAttributeCount, &Set::RenamedDynamicAttribute>(L"renamed dynamic attribute",
                                                                               ElementFlag::kRenamed),
        row<AttributeArray, &Set::addCreatedDynamicAttributeArray, &Set::removeCreatedDynamicAttributeArray,
            &Set::CreatedDynamicAttributeArrayCount, &Set::CreatedDynamicAttributeArray>(L"created dynamic array",
                                                                                         ElementFlag::kCreated),
        row<AttributeArray, &Set::addDestroyedDynamicAttributeArray, &Set::removeDestroyedDynamicAttributeArray,
            &Set::DestroyedDynamicAttributeArrayCount, &Set::DestroyedDynamicAttributeArray>(
            L"destroyed dynamic array", ElementFlag::kDestroyedNow),
        row<AttributeArray, &Set::addRenamedDynamicAttributeArray, &Set::removeRenamedDynamicAttributeArray,
            &Set::RenamedDynamicAttributeArrayCount, &Set::RenamedDynamicAttributeArray>(L"renamed dynamic array",
                                                                                         ElementFlag::kRenamed),
        row<AttributeArray, &Set::addResizedAttributeArray, &Set::removeResizedAttributeArray,
            &Set::ResizedAttributeArrayCount, &Set::ResizedAttributeArray>(L"resized array", ElementFlag::kResized),
        row<Attribute, &Set::addCreatedReference, &Set::removeCreatedReference, &Set::CreatedReferenceCount,
            &Set::CreatedReference>(L"created reference", ElementFlag::kReferenceMade),
        row<Attribute, &Set::addDestroyedReference, &Set::removeDestroyedReference, &Set::DestroyedReferenceCount,
            &Set::DestroyedReference>(L"destroyed reference", ElementFlag::kReferenceBroken),
        row<Attribute, &Set::addChangedAttribute, &Set::removeChangedAttribute, &Set::ChangedAttributeCount,
            &Set::ChangedAttribute>(L"changed attribute", ElementFlag::kChanged),
    };
    return rows;
}

std::vector<std::wstring> changesOf(const ChangeSet& changes)
{
    std::vector<std::wstring> lines;
    for (const ChangeListRow& list : changeListRows())
        for (unsigned int i = 0; i < list.count(changes); ++i)
            lines.push_back(std::wstring(list.what) + L' ' + list.pathAt(changes, i));
    return lines;
}

void expectBitsInStep(const CoreManager& core, const ChangeSet& changes)
{
    const BitsOfObjects expected = bitsByList(changes);
    ConstNodeIterator nodes(core.getRoot());
    nodes.includeRoot(true);
    while (nodes.next())
    {
        expectBits(*nodes.node(), NodeFlag::kChangeFlags, expected);
        expectBitsOfElements(*nodes.node(), expected);
    }
}

} // namespace db2test
