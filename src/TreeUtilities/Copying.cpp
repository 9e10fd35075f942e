// The tree utilities that copy nodes.

#include <db2/TreeUtilities.h>

#include <db2/AttributeIterators.h>
#include <db2/CoreManager.h>
#include <db2/DataInterface.h>
#include <db2/ElementMetaDataDef.h>
#include <db2/Library.h>
#include <db2/Paths.h>

#include "../OutOfMemory.h"
#include "ChainEnds.h"
#include "ElementCopies.h"

#include <kqx/Array.h>

#include <algorithm>
#include <unordered_map>

namespace db2 {

// --- Elements ---

Element* createElementLike(const Element& source, Node& node, DataInterface& data, CoreManager& core)
{
    const ElementMetaDataCopier definition(*source.getMetaData());
    Element* element = nullptr;
    if (source.isDynamic())
        data.db_createDynamicElement(definition, source.getName(), &node, nullptr, &element);
    else
        core.createUnknownElement(definition, source.getName(), &node, &element);
    return element;
}

void copyElementValue(Element& to, const Element& from, DataInterface& data)
{
    if (from.isAttributeArray())
        dbu_copyAttributeArray(static_cast<AttributeArray*>(&to), static_cast<const AttributeArray*>(&from), &data);
    else
        dbu_copyAttribute(static_cast<Attribute*>(&to), static_cast<const Attribute*>(&from), &data);
}

Attribute* findCounterpart(const Attribute& attribute, const Node& copy)
{
    const AttributeArray* const array = attribute.getParentArray();
    if (array == nullptr)
        return copy.findAttributeByName(attribute.getName());
    const AttributeArray* const copied = copy.findAttributeArrayByName(array->getName());
    return copied != nullptr ? copied->getAttribute(attribute.getIndex()) : nullptr;
}

namespace {

/// What all steps of a copy go through.
struct Editors
{
    DataInterface& data;
    CoreManager& core;
    ChainEnds& chains; ///< of the source's references, which a copy without its own references leaves alone
};

// --- One node ---

Node* createNodeLike(const Node& source, Editors editors, Node* parent, Node* next, const wchar_t* name)
{
    if (name == nullptr)
        name = source.getName().c_str();
    Node* copy = nullptr;
    if (source.isUnknown())
        editors.data.db_createUnknownNode(source.getTypeName().c_str(), *source.getModule(), name, parent, next,
                                          source.isLegacy(), &copy);
    else
        editors.data.db_createNode(source.getTypeId(), name, parent, next, &copy);
    return copy;
}

/// The same as copyElementValue(), however many references lie between an attribute and the value that it shows.
void copyShownValue(Element& to, const Element& from, Editors editors)
{
    const auto copy = [&](Attribute& target, const Attribute& source) {
        dbu_copyAttribute(&target, &editors.chains.of(source), &editors.data);
    };
    if (!from.isAttributeArray())
        return copy(static_cast<Attribute&>(to), static_cast<const Attribute&>(from));
    const auto& items = static_cast<const AttributeArray&>(from);
    auto& newItems = static_cast<AttributeArray&>(to);
    editors.data.db_resizeAttributeArray(&newItems, items.getSize());
    for (unsigned int i = 0; i < std::min(newItems.getSize(), items.getSize()); ++i)
        copy(*newItems.getAttribute(i), *items.getAttribute(i));
}

void copyElements(const Node& source, Node& copy, Editors editors)
{
    const unsigned int count = source.getElementCount(); // a copy under the source itself adds none to it
    for (unsigned int i = 0; i < count; ++i)
    {
        const Element& from = *source.getElement(i);
        const bool isMade = from.isDynamic() || from.isUnknown();
        Element* const to = isMade ? createElementLike(from, copy, editors.data, editors.core) : copy.getElement(i);
        if (to != nullptr && to->isAttributeArray() == from.isAttributeArray()) // else the type is another one there
            copyShownValue(*to, from, editors);
    }
}

Node* copyNode(const Node& source, Editors editors, Node* parent, Node* next, const wchar_t* name)
{
    Node* const copy = createNodeLike(source, editors, parent, next, name);
    if (copy != nullptr)
        copyElements(source, *copy, editors);
    return copy;
}

// --- Subtrees ---

/// The nodes that a copy of a subtree copies, listed before it begins, parents before children.
class SubtreeCopy
{
public:
    /// Throws std::bad_alloc.
    SubtreeCopy(const Node& top, bool withTop)
    {
        ConstNodeIterator nodes(&top);
        nodes.includeRoot(withTop);
        while (nodes.next())
        {
            const Node& source = *nodes.node();
            indices_.emplace(&source, copies_.size());
            const auto parent = indices_.find(source.getParent());
            const bool isBelowOther = parent != indices_.end();
            copies_.push_back({&source, isBelowOther ? parent->second : kTop, nullptr});
        }
    }

    /// Makes the copies; what is below a node that could not be made is left out. @param name  of the first node.
    void make(Editors editors, Node* parent, Node* next, const wchar_t* name)
    {
        for (Copy& copy : copies_)
        {
            if (copy.parent == kTop)
                copy.node = copyNode(*copy.source, editors, parent, next, name);
            else if (Node* const copiedParent = copies_[copy.parent].node)
                copy.node = copyNode(*copy.source, editors, copiedParent, nullptr, nullptr);
        }
    }

    struct Copy
    {
        const Node* source;
        std::size_t parent; ///< its index, or kTop
        Node* node;         ///< null until it is made
    };
    [[nodiscard]] const kqx::Array<Copy>& copies() const { return copies_; }

    /// What became of @p source. @return false when it is none of the copied nodes.
    [[nodiscard]] bool find(const Node* source, Node*& copy) const
    {
        const auto found = indices_.find(source);
        if (found == indices_.end())
            return false;
        copy = copies_[found->second].node;
        return true;
    }

private:
    static constexpr std::size_t kTop = static_cast<std::size_t>(-1);

    kqx::Array<Copy> copies_;
    std::unordered_map<const Node*, std::size_t> indices_; ///< asked, never walked: its order is that of addresses
};

/// @return the copy of the top node, or null.
Node* copySubtree(const Node* source, bool withTop, DataInterface* data, CoreManager* core, Node* parent, Node* next,
                  const wchar_t* name)
{
    if (source == nullptr || data == nullptr || core == nullptr)
        return nullptr;
    Node* top = nullptr;
    static_cast<void>(succeeds([&] {
        SubtreeCopy subtree(*source, withTop);
        ChainEnds chains;
        subtree.make({*data, *core, chains}, parent, next, name);
        static_cast<void>(subtree.find(source, top));
    }));
    return top;
}

// --- References ---

kqx::String pathOf(const Node* root, const Attribute& attribute)
{
    kqx::String path;
    dbu_attributeToPath(root, &attribute, &path);
    return path;
}

/// Gives the attributes of a copied subtree the references that those of its source hold.
class ReferenceCopies
{
public:
    ReferenceCopies(const SubtreeCopy& subtree, const Node& top, const Node* root, const Node* targetRoot,
                    DataInterface& data)
        : subtree_(subtree), top_(top), root_(root), targetRoot_(targetRoot), data_(data)
    {
    }

    void make(bool internalOnly)
    {
        for (const SubtreeCopy::Copy& copy : subtree_.copies())
        {
            if (copy.node == nullptr || copy.source->getEdgeCount() == 0)
                continue;
            for (AttributeIterator attributes(copy.source); attributes.next();)
                if (attributes.attr()->getReference() != nullptr)
                    makeOne(*attributes.attr(), *copy.node, internalOnly);
        }
    }

private:
    void makeOne(const Attribute& referencer, const Node& copy, bool internalOnly)
    {
        const Attribute& referenced = *referencer.getReference();
        Node* referencedCopy = nullptr;
        const bool isInternal = subtree_.find(referenced.getNode(), referencedCopy);
        if (!isInternal && internalOnly)
            return;
        Attribute* const to = findCounterpart(referencer, copy);
        Attribute* from = nullptr;
        if (!isInternal)
            from = findOutside(referenced);
        else if (referencedCopy != nullptr)
            from = findCounterpart(referenced, *referencedCopy);
        if (from == nullptr)
            logNoAttribute(pathOf(rootOf(isInternal), referenced));
        if (to == nullptr)
            logNoAttribute(pathOf(&top_, referencer));
        if (from == nullptr || to == nullptr)
            return;
        if (from->referentIsSingle())
            warnOfSingleOutput(pathOf(rootOf(isInternal), referenced), pathOf(&top_, referencer));
        else
            data_.db_createReference(from, to, referencer.referenceIsSingle());
    }

    /// The attribute itself or, under another root, the one at its path.
    [[nodiscard]] Attribute* findOutside(const Attribute& attribute) const
    {
        if (targetRoot_ == nullptr)
            return const_cast<Attribute*>(&attribute);
        Attribute* found = nullptr;
        dbu_resolvePath(targetRoot_, pathOf(root_, attribute).c_str(), nullptr, nullptr, &found);
        return found;
    }

    [[nodiscard]] const Node* rootOf(bool isInternal) const { return isInternal ? &top_ : root_; }

    static void logNoAttribute(const kqx::String& path)
    {
        logError(L"'%s' does not resolve to an attribute.", path.c_str());
    }

    static void warnOfSingleOutput(const kqx::String& referenced, const kqx::String& referencer)
    {
        logWarning(
            L"The reference from '%s' to '%s' is a single output reference, it is not possible to create another "
            L"reference to '%s'",
            referenced.c_str(), referencer.c_str(), referenced.c_str());
    }

    const SubtreeCopy& subtree_;
    const Node& top_;
    const Node* root_;
    const Node* targetRoot_; ///< null when attributes outside stay the same
    DataInterface& data_;
};

Node* copySubtreeWithReferences(const Node* root, const Node* source, bool withTop, DataInterface* data,
                                CoreManager* core, Node* parent, Node* next, const Node* targetRoot,
                                const wchar_t* name, bool internalOnly)
{
    if (source == nullptr || data == nullptr || core == nullptr)
        return nullptr;
    if (targetRoot != nullptr && targetRoot->getParent() != nullptr)
        return nullptr;
    Node* top = nullptr;
    static_cast<void>(succeeds([&] {
        SubtreeCopy subtree(*source, withTop);
        ChainEnds chains;
        subtree.make({*data, *core, chains}, parent, next, name);
        static_cast<void>(subtree.find(source, top));
        ReferenceCopies(subtree, *source, root, targetRoot, *data).make(internalOnly);
    }));
    return top;
}

} // namespace

Node* dbu_copyNodeWithNoReferences(const Node* source, DataInterface* data, CoreManager* core, Node* parent, Node* next,
                                   const wchar_t* name)
{
    if (source == nullptr || data == nullptr || core == nullptr)
        return nullptr;
    ChainEnds chains;
    return copyNode(*source, {*data, *core, chains}, parent, next, name);
}

Node* dbu_copyNode(const Node* source, DataInterface* data, CoreManager* core, Node* parent, Node* next,
                   const wchar_t* name)
{
    Node* const copy = dbu_copyNodeWithNoReferences(source, data, core, parent, next, name);
    if (copy == nullptr)
        return nullptr;
    for (AttributeIterator attributes(source); attributes.next();)
    {
        const Attribute& referencer = *attributes.attr();
        Attribute* const referenced = referencer.getReference();
        if (referenced == nullptr)
            continue;
        if (referenced->referentIsSingle())
            logWarning(L"Attribute '%s' in node '%s' references a single output reference attribute, the reference "
                       L"will not be copied.",
                       referencer.getName(), source->getName().c_str());
        else if (Attribute* const to = findCounterpart(referencer, *copy))
            data->db_createReference(referenced, to, false);
    }
    return copy;
}

Node* dbu_copyNodeRecursivelyWithNoReferences(const Node* source, DataInterface* data, CoreManager* core, Node* parent,
                                              Node* next, const wchar_t* name)
{
    return copySubtree(source, true, data, core, parent, next, name);
}

void dbu_copyChildrenRecursivelyWithNoReferences(const Node* source, DataInterface* data, CoreManager* core,
                                                 Node* parent)
{
    copySubtree(source, false, data, core, parent, nullptr, nullptr);
}

Node* dbu_copyNodeRecursively(const Node* root, const Node* source, DataInterface* data, CoreManager* core,
                              Node* parent, Node* next, const Node* targetRoot, const wchar_t* name, bool internalOnly)
{
    return copySubtreeWithReferences(root, source, true, data, core, parent, next, targetRoot, name, internalOnly);
}

void dbu_copyChildrenRecursively(const Node* root, const Node* source, DataInterface* data, CoreManager* core,
                                 Node* parent, const Node* targetRoot, bool internalOnly)
{
    copySubtreeWithReferences(root, source, false, data, core, parent, nullptr, targetRoot, nullptr, internalOnly);
}

} // namespace db2
