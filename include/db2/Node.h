#pragma once

#include <db2/AttributeArray.h>
#include <db2/Export.h>
#include <db2/Flags.h>
#include <db2/NodeTemplate.h>
#include <db2/Status.h>

#include <kqx/Anchor.h>
#include <kqx/String.h>

namespace db2 {

class CoreManager;
class NameIndex;
struct NodeExtras;

/// A node of the tree: made from a NodeTemplate, it carries an element for each element of its template, in template
/// order, followed by the dynamic elements, and in a list of their own the legacy elements.
/// Hosts read nodes; every change goes through a DataInterface. Hosts keep weak handles through the anchor
/// (kqx::AnchorHandle<Node>), which become null when the node is destroyed.
/// Lifetime: the CoreManager's; a destroyed node stays readable until the next commit, or for as long as undo holds it.
/// Its parent can still be asked for then; it has no siblings and no children.
class DB2_API Node : public kqx::Anchor
{
public:
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    // --- Tree ---

    [[nodiscard]] Node* getParent() const { return parent_; } ///< null for the root
    [[nodiscard]] Node* getFirstChild() const { return firstChild_; }
    [[nodiscard]] Node* getLastChild() const { return lastChild_; }
    [[nodiscard]] Node* getPreviousSibling() const { return previousSibling_; }
    [[nodiscard]] Node* getNextSibling() const { return nextSibling_; }

    /// False when @p other is null or the node itself. Cost: some steps for each level up to where the two ways to the
    /// root meet.
    [[nodiscard]] bool isDescendantOf(const Node* other) const;

    /// The child whose name is exactly @p name, or null (also for a null name). Cost: constant.
    [[nodiscard]] Node* findChildByName(const wchar_t* name) const;

    // --- Type and name ---

    [[nodiscard]] const NodeTemplate* getNodeTemplate() const { return template_; }
    [[nodiscard]] unsigned int getTypeId() const { return template_->getTypeId(); }
    [[nodiscard]] const kqx::String& getTypeName() const { return template_->getTypeName(); }
    [[nodiscard]] const Module* getModule() const { return template_->getModule(); }
    [[nodiscard]] const kqx::String& getName() const { return name_; } ///< unique among the siblings, by hash
    [[nodiscard]] void* getAPI() const { return api_; } ///< what the factory made for this node; the host's
    [[nodiscard]] kqx::Anchor& getAnchor() { return *this; }
    [[nodiscard]] const kqx::Anchor& getAnchor() const { return *this; }

    // --- Elements ---

    /// Template and dynamic elements together.
    [[nodiscard]] unsigned int getElementCount() const;
    [[nodiscard]] inline Element* getElement(unsigned int index) const; ///< null beyond the count
    [[nodiscard]] unsigned int getDynamicElementCount() const;
    [[nodiscard]] Element* getDynamicElement(unsigned int index) const; ///< null beyond the count
    /// The dynamic element behind @p element; null when it is the last or none of this node's.
    [[nodiscard]] Element* getNextDynamicElement(const Element* element) const;
    [[nodiscard]] unsigned int getLegacyElementCount() const;
    [[nodiscard]] Element* getLegacyElement(unsigned int index) const; ///< null beyond the count

    /// The first element of exactly that name, or null; the typed forms also give null when the kind differs.
    [[nodiscard]] Element* findElementByName(const wchar_t* name) const;
    [[nodiscard]] Attribute* findAttributeByName(const wchar_t* name) const;
    [[nodiscard]] AttributeArray* findAttributeArrayByName(const wchar_t* name) const;
    [[nodiscard]] Attribute* findLegacyAttributeByName(const wchar_t* name) const;
    [[nodiscard]] AttributeArray* findLegacyAttributeArrayByName(const wchar_t* name) const;

    // --- Names that are free ---

    /// @return kDuplicateChildName when a child other than @p exclude has a name of the same hash, else kSuccess.
    [[nodiscard]] Status isChildNameValid(const wchar_t* name, const Node* exclude) const;
    [[nodiscard]] bool isDynamicElementNameUnique(const wchar_t* name) const;
    [[nodiscard]] bool isLegacyElementNameUnique(const wchar_t* name) const;

    // --- Flags (NodeFlag, and the host's own from registerNodeFlagType) ---

    [[nodiscard]] std::uint32_t getFlags() const { return flags_; }
    [[nodiscard]] bool hasFlag(std::uint32_t mask) const { return (flags_ & mask) == mask; } ///< every bit of the mask
    [[nodiscard]] bool hasAnyFlag(std::uint32_t mask) const { return (flags_ & mask) != 0; }
    void setFlag(std::uint32_t mask) { flags_ |= mask; }
    void clearFlag(std::uint32_t mask) { flags_ &= ~mask; }

    [[nodiscard]] bool isDestroyed() const { return hasFlag(NodeFlag::kDestroyed); }
    [[nodiscard]] bool isUnknown() const { return hasFlag(NodeFlag::kUnknown); }
    [[nodiscard]] bool isLegacy() const { return hasFlag(NodeFlag::kLegacy); }
    /// False for a node that is not legacy, whatever was set.
    [[nodiscard]] bool isLegacyNodeHandled() const { return hasFlag(NodeFlag::kLegacy | NodeFlag::kLegacyHandled); }
    void setLegacyNodeHandled(); ///< does nothing on a node that is not legacy

    /// The number of references that attributes of this node take part in, counted once for each end here.
    [[nodiscard]] unsigned int getEdgeCount() const { return edgeCount_; }

private:
    friend class CoreManager;
    friend class NodeMemory;
    friend class Element;

    explicit Node(NodeTemplate* nodeTemplate) : template_(nodeTemplate) {}
    ~Node() = default;

    // The tree links; CoreManager's operations are made of these.
    void linkUnder(Node* parent, Node* next);
    void unlink();

    // The child-name index, which a node has from its third child on. Reserve first: entering then needs no memory.
    [[nodiscard]] bool reserveChildEntry();
    [[nodiscard]] bool reserveRenamedEntry();
    void enterChild(Node* child);
    void removeChildEntry(const Node* child);
    void dropChildIndex();
    [[nodiscard]] Node* findChildByHash(std::uint32_t nameHash) const;
    [[nodiscard]] Element* findLegacyElementByName(const wchar_t* name) const;

    // Elements: in the node's block, or with blocks of their own.
    [[nodiscard]] unsigned int elementsInBlock() const { return isUnknown() ? 0 : template_->getElementCount(); }
    [[nodiscard]] Element* getElementInOwnBlock(unsigned int index) const; ///< counted from elementsInBlock() on
    [[nodiscard]] NodeExtras* getOrMakeExtras();                           ///< null when memory is out

    NodeTemplate* template_; ///< of an unknown node: its own, private one
    void* api_ = nullptr;
    kqx::String name_;
    NodeExtras* extras_ = nullptr; ///< what few nodes have: elements beyond the template's; owned
    std::uint32_t flags_ = 0;
    std::uint32_t edgeCount_ = 0;
    std::uint32_t nameHash_ = 0;           ///< of name_, so that look-ups and removals do not touch the text
    bool keptByGarbageCollection_ = false; ///< used within one collection only
    Node* parent_ = nullptr;
    Node* firstChild_ = nullptr;
    Node* lastChild_ = nullptr;
    Node* previousSibling_ = nullptr;
    Node* nextSibling_ = nullptr;
    NameIndex* childIndex_ = nullptr; ///< name hash to child; null below three children; owned
};

inline Element* Node::getElement(unsigned int index) const
{
    const unsigned int inBlock = elementsInBlock();
    if (index >= inBlock)
        return extras_ != nullptr ? getElementInOwnBlock(index - inBlock) : nullptr;
    std::byte* const block = reinterpret_cast<std::byte*>(const_cast<Node*>(this));
    return reinterpret_cast<Element*>(block + template_->getElementOffset(index));
}

inline const Element* Element::getOutermost() const
{
    return isAttributeArrayElement() ? static_cast<const AttributeArray*>(getOwner()) : this;
}

inline Node* Element::getNode() const
{
    return static_cast<Node*>(getOutermost()->getOwner());
}

inline bool Element::isDestroyed() const
{
    const Element* const outermost = getOutermost();
    const bool wasTakenOut = outermost->isDynamic() && outermost->hasFlag(ElementFlag::kDestroyed);
    return wasTakenOut || static_cast<const Node*>(outermost->getOwner())->isDestroyed();
}

} // namespace db2
