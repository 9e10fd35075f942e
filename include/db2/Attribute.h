#pragma once

#include <db2/Element.h>

namespace db2 {

/// One typed value of a node, or one item of an attribute array. It may reference another attribute and then takes its
/// value from that one. The value is written between db_lockAttribute and db_unlockAttribute of a DataInterface.
/// Invariants: an attribute references at most one attribute; references never form a cycle.
class DB2_API Attribute : public Element
{
public:
    /// The value at the end of the chain of references that starts here. An item that a shrink of its array released
    /// reads as the default. Cost: one step a reference in the chain.
    [[nodiscard]] ConstValueHandle getValue() const;

    /// The attribute that this one references, or null.
    [[nodiscard]] Attribute* getReference() const { return hasLinks() ? getLinks()->referenced : nullptr; }

    /// The newest of the attributes that reference this one, or null; the others follow by getSiblingReferent().
    [[nodiscard]] Attribute* getReferents() const { return hasLinks() ? getLinks()->firstReferencer : nullptr; }

    /// The next older attribute that references what this one references, or null.
    [[nodiscard]] Attribute* getSiblingReferent() const { return hasLinks() ? getLinks()->nextReferencer : nullptr; }

    [[nodiscard]] bool isLocked() const { return hasFlag(ElementFlag::kLocked); }

    /// True when the reference that this attribute holds is a single output reference.
    [[nodiscard]] bool referenceIsSingle() const { return hasFlag(ElementFlag::kSingleOutput); }

    /// True when the newest referencer's reference is single output, which forbids further referencers.
    [[nodiscard]] bool referentIsSingle() const;

private:
    friend class CoreManager;
    friend class NodeMemory;
    friend class NodeTemplate;

    Attribute(std::uint32_t flags, std::uint32_t ownerDistance, const ElementMetaData* metaData)
        : Element(flags, ownerDistance, metaData)
    {
    }

    [[nodiscard]] bool hasLinks() const { return hasFlag(ElementFlag::kHasLinks); }
    [[nodiscard]] ReferenceLinks* getLinks() const { return links_; }

    /// The attribute's own value, without following its reference; what a lock hands out.
    [[nodiscard]] ValueHandle private_getValue() const;
};

} // namespace db2
