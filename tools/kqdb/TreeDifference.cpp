#include "TreeDifference.h"

#include "TreeWalk.h"

#include <db2/Module.h>
#include <db2/NodeIterators.h>

#include <cwchar>
#include <string_view>

namespace kqdb {
namespace {

bool isSameType(const db2::Node& a, const db2::Node& b)
{
    return a.getTypeName() == b.getTypeName() && a.getModule()->getId() == b.getModule()->getId();
}

/// Nodes of one known type have the same elements at the same indices.
bool hasSameTemplate(const db2::Node& a, const db2::Node& b)
{
    return a.getNodeTemplate() == b.getNodeTemplate();
}

/// Elements of a node by name: those of its list from an index on, or its legacy ones. Looks first at the place where the
/// other node has the name, and only where that fails makes a table, so that nodes with very many elements cost no more.
class ElementLookup
{
public:
    ElementLookup(const db2::Node& node, bool isLegacy, unsigned int first)
        : node_(node), isLegacy_(isLegacy), first_(first)
    {
    }

    /// Null beyond the last.
    [[nodiscard]] const db2::Element* at(unsigned int index) const
    {
        return isLegacy_ ? node_.getLegacyElement(index) : node_.getElement(index);
    }

    /// @param likely  where it may be.
    [[nodiscard]] const db2::Element* find(std::wstring_view name, unsigned int likely)
    {
        const db2::Element* const guess = likely >= first_ ? at(likely) : nullptr;
        if (guess != nullptr && name == guess->getName())
            return guess;
        if (!isTableMade_)
            for (unsigned int i = first_; const db2::Element* const element = at(i); ++i)
                table_.emplace(element->getName(), element);
        isTableMade_ = true;
        const auto found = table_.find(name);
        return found != table_.end() ? found->second : nullptr;
    }

private:
    const db2::Node& node_;
    bool isLegacy_;
    unsigned int first_;
    bool isTableMade_ = false;
    std::unordered_map<std::wstring_view, const db2::Element*> table_;
};

} // namespace

TreeDifference::TreeDifference(const db2::Node& a, const db2::Node& b, const Options& options, DifferenceTaker& taker)
    : a_(a), b_(b), options_(options), values_(options.tolerance), taker_(taker)
{
}

void TreeDifference::run()
{
    pairNodes();
    for (TreeWalk walk(a_); walk.next();)
    {
        const auto partner = partners_.find(&walk.node());
        walk_ = &walk;
        if (partner != partners_.end())
        {
            compareNodes(walk.node(), *partner->second);
            continue;
        }
        report(Difference::Kind::kNodeRemoved, &walk.node(), nullptr);
        walk.skipChildren();
    }
}

void TreeDifference::pairNodes()
{
    partners_.emplace(&a_, &b_);
    db2::ConstNodeIterator nodes(&a_);
    while (nodes.next())
    {
        const db2::Node* const parent = partners_.find(nodes.node()->getParent())->second;
        if (const db2::Node* const partner = parent->findChildByName(nodes.node()->getName().c_str()))
            partners_.emplace(nodes.node(), partner);
        else
            nodes.skipChildren(true);
    }
}

void TreeDifference::compareNodes(const db2::Node& a, const db2::Node& b)
{
    if (!isSameType(a, b))
        report(Difference::Kind::kNodeType, &a, &b);
    compareElements(a, b);
    for (const db2::Node* child = b.getFirstChild(); child != nullptr; child = child->getNextSibling())
        if (a.findChildByName(child->getName().c_str()) == nullptr)
            report(Difference::Kind::kNodeAdded, nullptr, child);
    if (!options_.ignoresOrder)
        compareOrder(a, b);
}

/// Whether the children that both have stand in the same order.
void TreeDifference::compareOrder(const db2::Node& a, const db2::Node& b)
{
    const db2::Node* other = b.getFirstChild();
    for (const db2::Node* child = a.getFirstChild(); child != nullptr; child = child->getNextSibling())
    {
        const auto partner = partners_.find(child);
        if (partner == partners_.end())
            continue;
        while (other != nullptr && a.findChildByName(other->getName().c_str()) == nullptr) // added
            other = other->getNextSibling();
        if (other != partner->second)
            return report(Difference::Kind::kOrder, &a, &b);
        other = other->getNextSibling();
    }
}

// --- Elements ---

bool TreeDifference::isLeftOut(const db2::Element& element) const
{
    return element.isComputed() && !options_.comparesComputed;
}

void TreeDifference::compareElements(const db2::Node& a, const db2::Node& b)
{
    const unsigned int typeElements = hasSameTemplate(a, b) ? a.getNodeTemplate()->getElementCount() : 0;
    for (unsigned int i = 0; i < typeElements; ++i)
        compareElements(*a.getElement(i), *b.getElement(i));
    compareElementsByName(a, b, false, typeElements);
    compareElementsByName(a, b, true, 0);
}

/// Those from index @p first on, or the legacy ones.
void TreeDifference::compareElementsByName(const db2::Node& a, const db2::Node& b, bool isLegacy, unsigned int first)
{
    ElementLookup left(a, isLegacy, first);
    ElementLookup right(b, isLegacy, first);
    for (unsigned int i = first; const db2::Element* const element = left.at(i); ++i)
        if (const db2::Element* const other = right.find(element->getName(), i))
            compareElements(*element, *other);
        else
            report(Difference::Kind::kElementRemoved, element, nullptr);
    for (unsigned int i = first; const db2::Element* const element = right.at(i); ++i)
        if (left.find(element->getName(), i) == nullptr)
            report(Difference::Kind::kElementAdded, nullptr, element);
}

void TreeDifference::compareElements(const db2::Element& a, const db2::Element& b)
{
    if (isLeftOut(a) || isLeftOut(b))
        return;
    const bool isOtherKind = a.getTypeId() != b.getTypeId() || a.isAttributeArray() != b.isAttributeArray();
    if (isOtherKind || (a.isDynamic() && b.isDynamic() && !a.getMetaData()->compare(*b.getMetaData())))
        report(Difference::Kind::kDefinition, &a, &b);
    if (isOtherKind)
        return;
    if (!a.isAttributeArray())
        return compareAttributes(static_cast<const db2::Attribute&>(a), static_cast<const db2::Attribute&>(b));
    const auto& left = static_cast<const db2::AttributeArray&>(a);
    const auto& right = static_cast<const db2::AttributeArray&>(b);
    if (left.getSize() != right.getSize())
        return report(Difference::Kind::kValue, &a, &b);
    for (unsigned int i = 0; i < left.getSize(); ++i)
        compareAttributes(*left.getAttribute(i), *right.getAttribute(i));
}

void TreeDifference::compareAttributes(const db2::Attribute& a, const db2::Attribute& b)
{
    const db2::Attribute* const referencedA = a.getReference();
    const db2::Attribute* const referencedB = b.getReference();
    const bool isSingle = a.referenceIsSingle() == b.referenceIsSingle();
    if (!isSameReference(referencedA, referencedB) || (referencedA != nullptr && !isSingle))
        report(Difference::Kind::kReference, &a, &b);
    else if (referencedA == nullptr && !values_.isSame(a, b))
        report(Difference::Kind::kValue, &a, &b);
}

bool TreeDifference::isSameReference(const db2::Attribute* a, const db2::Attribute* b) const
{
    if (a == nullptr || b == nullptr)
        return a == b;
    const auto partner = partners_.find(a->getNode());
    const bool isSameItem = (a->getParentArray() != nullptr) == (b->getParentArray() != nullptr) &&
                            (a->getParentArray() == nullptr || a->getIndex() == b->getIndex());
    return partner != partners_.end() && partner->second == b->getNode() && isSameItem &&
           std::wcscmp(a->getName(), b->getName()) == 0;
}

// --- Reports ---

void TreeDifference::report(Difference::Kind kind, const db2::Node* a, const db2::Node* b)
{
    const bool isBelow = kind == Difference::Kind::kNodeAdded; // the path is still the parent's
    taker_.take({kind, isBelow ? pathOf(*b) : walk_->path(), a, b, nullptr, nullptr});
}

void TreeDifference::report(Difference::Kind kind, const db2::Element* a, const db2::Element* b)
{
    const db2::Element& element = a != nullptr ? *a : *b;
    std::wstring path = walk_->path();
    appendElement(path, element);
    taker_.take({kind, std::move(path), nullptr, nullptr, a, b});
}

} // namespace kqdb
