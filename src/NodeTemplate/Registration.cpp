// What registration prepares in a NodeTemplate: which compute set follows which, and the image that the elements of every
// node start as.

#include <db2/NodeTemplate.h>

#include <db2/Node.h>

#include "../ElementRecords.h"
#include "../OutOfMemory.h"

#include <kqtl/Alloc.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace db2 {
namespace {

// --- Dependencies ---

using Edges = kqx::Array<std::pair<unsigned int, unsigned int>>;

/// What follows from the compute sets of a template; each edge once, in ascending order.
struct Dependencies
{
    Edges setToSet;     ///< a set that computes an input of another, and the other
    Edges elementToSet; ///< an input, and the set that reads it
};

void sortOnce(Edges& edges)
{
    std::sort(edges.begin(), edges.end());
    edges.erase(std::unique(edges.begin(), edges.end()), edges.end());
}

Dependencies dependenciesOf(const kqtl::pod_vector<ComputeSet*>& sets,
                            const kqtl::pod_vector<ElementMetaData*>& elements)
{
    Dependencies found;
    for (unsigned int set = 0; set < sets.size(); ++set)
    {
        for (unsigned int i = 0; i < sets[set]->getInputCount(); ++i)
        {
            const unsigned int input = sets[set]->getInputs()[i];
            if (elements[input]->hasComputeSet())
                found.setToSet.push_back({elements[input]->getComputeSet(), set});
            found.elementToSet.push_back({input, set});
        }
    }
    sortOnce(found.setToSet);
    sortOnce(found.elementToSet);
    return found;
}

/// Calls @p visit with each start of edges, the index of its first edge, and how many it has.
template <class Visit>
void forEachStart(const Edges& edges, Visit visit)
{
    for (std::size_t first = 0, end = 0; first < edges.size(); first = end)
    {
        const unsigned int start = edges[first].first;
        while (end < edges.size() && edges[end].first == start)
            ++end;
        visit(start, static_cast<unsigned int>(first), static_cast<unsigned int>(end - first));
    }
}

// --- Values ---

/// True for values that hold memory of their own, so that their bytes do not make a second one.
bool ownsMemory(AttributeTypeId typeId)
{
    return !ValueInfo::isPODType(typeId) && typeId != AttributeType::kNull;
}

/// True when a value that owns memory owns none, which is when its one pointer is null.
bool isEmptyValue(const ConstValueHandle& value)
{
    const auto* const bytes = static_cast<const unsigned char*>(value.getData());
    const std::uint32_t size = ValueInfo::getMemoryRequirements(value.getTypeId()).size;
    return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

} // namespace

// --- Registration ---

bool NodeTemplate::freeze()
{
    return succeeds([this] {
        buildNodeImage(); // unseen, so it may stay when the rest fails
        determineElementAndComputeSetDependencies();
    });
}

/// Changes nothing when it throws: everything is worked out before anything is written.
void NodeTemplate::determineElementAndComputeSetDependencies()
{
    const Dependencies dependencies = dependenciesOf(computeSets_, elements_);
    kqx::Array<kqx::SizeTArray> outputSets;
    outputSets.resize(computeSets_.size());
    for (const auto& [from, to] : dependencies.setToSet)
        outputSets[from].push_back(to);
    kqtl::pod_vector<unsigned int> elementOutputs;
    for (const auto& [element, set] : dependencies.elementToSet)
        elementOutputs.push_back(set);

    for (std::size_t set = 0; set < computeSets_.size(); ++set)
        computeSets_[set]->setOutputSets(std::move(outputSets[set]));
    elementOutputs_.swap(elementOutputs);
    forEachStart(dependencies.elementToSet, [this](unsigned int element, unsigned int first, unsigned int count) {
        elements_[element]->setOutputComputeSets(first, count);
    });
}

// --- The elements of a node ---

/// Records say where their owner is by distance, so the same bytes serve every node of the type.
void NodeTemplate::buildNodeImage()
{
    owningElements_.clear();
    filledElements_.clear();
    KQTLFree(nodeImage_); // of a registration that was refused; elements may have come since
    nodeImage_ = static_cast<std::byte*>(KQTLAlloc(nodeFormat_.size, nodeFormat_.alignment));
    if (nodeImage_ == nullptr)
        throw std::bad_alloc();
    std::memset(nodeImage_, 0, nodeFormat_.size);
    for (unsigned int i = 0; i < elements_.size(); ++i)
    {
        const ElementMetaData* const metaData = elements_[i];
        std::byte* const record = nodeImage_ + elementOffsets_[i];
        if (metaData->isAttributeArray())
        {
            ::new (record) AttributeArray(0, elementOffsets_[i], metaData);
            owningElements_.push_back(i);
            continue;
        }
        ::new (record) Attribute(0, elementOffsets_[i], metaData);
        if (!ownsMemory(metaData->getTypeId()))
        {
            constructValue(record, *metaData);
            continue;
        }
        // An empty one is a null pointer, which the image holds already.
        owningElements_.push_back(i);
        if (!isEmptyValue(metaData->getDefaultValue()))
            filledElements_.push_back(i);
    }
}

bool NodeTemplate::constructElements(std::byte* nodeBlock) const
{
    std::memcpy(nodeBlock + sizeof(Node), nodeImage_ + sizeof(Node), nodeFormat_.size - sizeof(Node));
    for (const unsigned int index : filledElements_)
    {
        if (!constructValue(nodeBlock + elementOffsets_[index], *elements_[index]))
        {
            destroyElementValues(nodeBlock); // those that were not made yet are empty
            return false;
        }
    }
    return true;
}

bool NodeTemplate::constructValue(std::byte* attributeRecord, const ElementMetaData& metaData)
{
    void* const storage = valueBehind(attributeRecord, metaData.getTypeId());
    return !ValueHandle::constructAt(storage, metaData.getDefaultValue()).isNull();
}

void NodeTemplate::destroyElementValues(std::byte* nodeBlock) const
{
    for (const unsigned int index : filledElements_)
    {
        const AttributeTypeId typeId = elements_[index]->getTypeId();
        ValueHandle(valueBehind(nodeBlock + elementOffsets_[index], typeId), typeId).destroy();
    }
}

} // namespace db2
