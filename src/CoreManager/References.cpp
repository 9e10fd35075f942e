// The edits of references.

#include <db2/AttributeIterators.h>
#include <db2/CoreManager.h>

#include "../ReferencerWalk.h"

#include <kqtl/Alloc.h>

namespace db2 {

/// A cycle would close when the chain above @p referenced leads to @p referencer, which is when @p referenced is among
/// the referencers below @p referencer. Ranks grow downwards, so neither walk need go beyond the other end's rank. Both
/// go in step and whichever ends first decides.
bool CoreManager::wouldCloseCycle(const Attribute& referenced, const Attribute& referencer)
{
    if (!referenced.hasLinks() || !referencer.hasLinks())
        return false;
    const std::int64_t least = referencer.links_->rank;
    const std::int64_t greatest = referenced.links_->rank;
    ReferencerWalk below(referencer);
    bool leadsOn = true;
    for (const Attribute* above = &referenced; above != nullptr && above->links_->rank >= least;)
    {
        const Attribute* const seen = below.step(leadsOn);
        if (above == &referencer || seen == &referenced)
            return true;
        if (seen == nullptr)
            return false;
        leadsOn = seen->links_->rank < greatest;
        above = above->getReference();
    }
    return false;
}

/// After the two were linked: gives the chain above smaller ranks or the referencers below greater ones, whichever are
/// fewer. What takes another one's place in a chain costs nothing then, wherever it stands.
void CoreManager::restoreRanks(Attribute& referenced, Attribute& referencer)
{
    const std::int64_t greatest = referencer.links_->rank - 1; // for what is lowered
    const std::int64_t least = referenced.links_->rank + 1;    // for what is raised
    ReferencerWalk below(referencer);
    bool isLow = true;
    std::int64_t highest = greatest;
    for (const Attribute* above = &referenced; above != nullptr && above->links_->rank > highest; --highest)
    {
        const Attribute* const at = below.step(isLow);
        if (at == nullptr)
            return raiseRanks(referencer, least);
        isLow = at->links_->rank < least + below.depth();
        above = above->getReference();
    }
    lowerRanks(referenced, greatest);
}

/// Of the attribute, and of those above it as far as they are not smaller anyway.
void CoreManager::lowerRanks(Attribute& attribute, std::int64_t rank)
{
    for (Attribute* at = &attribute; at != nullptr && at->links_->rank > rank; at = at->getReference())
        at->links_->rank = rank--;
}

/// Of the attribute, and of those below it as far as they are not greater anyway.
void CoreManager::raiseRanks(Attribute& attribute, std::int64_t rank)
{
    attribute.links_->rank = rank;
    ReferencerWalk below(attribute);
    bool isLow = true;
    while (const Attribute* const at = below.step(isLow))
    {
        isLow = at->links_->rank < rank + below.depth();
        if (isLow)
            at->links_->rank = rank + below.depth();
    }
}

// --- The side record of an attribute's links ---

/// Gives the attribute its side record. @return false, changing nothing, when memory is out.
bool CoreManager::makeLinks(Attribute& attribute)
{
    if (attribute.hasLinks())
        return true;
    void* const place = KQTLAlloc(sizeof(ReferenceLinks), alignof(ReferenceLinks));
    if (place == nullptr)
        return false;
    attribute.links_ = ::new (place) ReferenceLinks{attribute.metaData_, nullptr, nullptr, nullptr, nullptr, 0};
    attribute.setFlag(ElementFlag::kHasLinks);
    return true;
}

/// Takes the side record away when no reference needs it any more.
void CoreManager::dropUnusedLinks(Attribute& attribute)
{
    ReferenceLinks* const links = attribute.hasLinks() ? attribute.links_ : nullptr;
    if (links == nullptr || links->referenced != nullptr || links->firstReferencer != nullptr)
        return;
    attribute.metaData_ = links->metaData;
    attribute.clearFlag(ElementFlag::kHasLinks);
    KQTLFree(links);
}

/// @param change  1 for an end that a reference gets at the attribute, the negative for one that it loses.
void CoreManager::countEnd(Attribute& attribute, std::uint32_t change)
{
    attribute.getNode()->edgeCount_ += change;
    if (AttributeArray* const array = attribute.getParentArray())
        array->referenceCount_ += change;
}

// --- Edits ---

Status CoreManager::db_createReference(Attribute* referenced, Attribute* referencer, bool singleOutput)
{
    const Status status = canCreateReference(referenced, referencer, singleOutput);
    if (status != Status::kSuccess)
        return status;
    if (!makeLinks(*referenced) || !makeLinks(*referencer))
    {
        dropUnusedLinks(*referenced);
        return Status::kFailure;
    }
    Attribute*& newest = referenced->links_->firstReferencer;
    referencer->links_->referenced = referenced;
    referencer->links_->nextReferencer = newest;
    if (newest != nullptr)
        newest->links_->previousReferencer = referencer;
    newest = referencer;
    if (singleOutput)
        referencer->setFlag(ElementFlag::kSingleOutput);
    restoreRanks(*referenced, *referencer);
    countEnd(*referenced, 1);
    countEnd(*referencer, 1);
    ++statistics_.references;
    return Status::kSuccess;
}

Status CoreManager::db_destroyReference(Attribute* referencer)
{
    const Status status = canDestroyReference(referencer);
    if (status == Status::kSuccess)
        breakReference(*referencer);
    return status;
}

void CoreManager::breakReference(Attribute& referencer)
{
    ReferenceLinks& links = *referencer.links_;
    Attribute& referenced = *links.referenced;
    if (links.previousReferencer != nullptr)
        links.previousReferencer->links_->nextReferencer = links.nextReferencer;
    else
        referenced.links_->firstReferencer = links.nextReferencer;
    if (links.nextReferencer != nullptr)
        links.nextReferencer->links_->previousReferencer = links.previousReferencer;
    links.referenced = nullptr;
    links.nextReferencer = nullptr;
    links.previousReferencer = nullptr;

    referencer.clearFlag(ElementFlag::kSingleOutput);
    countEnd(referenced, ~std::uint32_t{0});
    countEnd(referencer, ~std::uint32_t{0});
    --statistics_.references;
    dropUnusedLinks(referencer);
    dropUnusedLinks(referenced);
}

/// Breaks every reference that an attribute of the node takes part in, at either end.
void CoreManager::breakAllReferences(Node& node)
{
    if (node.getEdgeCount() == 0)
        return;
    AttributeIterator attributes(&node);
    while (attributes.next())
    {
        Attribute& attribute = *attributes.attr();
        if (attribute.getReference() != nullptr)
            breakReference(attribute);
        while (Attribute* const referencer = attribute.getReferents())
            breakReference(*referencer);
    }
}

} // namespace db2
