#include "ComputeGraph.h"

#include "../OutOfMemory.h"
#include "../Prefetch.h"
#include "../ReferencerWalk.h"
#include "Components.h"

#include <db2/Library.h>
#include <db2/NodeTemplate.h>
#include <db2/Paths.h>

#include <algorithm>
#include <utility>

namespace db2 {
namespace {

/// The element of the node's template that an attribute is or, for an item, belongs to.
const Element& outermost(const Element& element)
{
    const AttributeArray* const array = element.getParentArray();
    return array != nullptr ? *array : element;
}

/// An input of a compute set of its node.
bool isInput(const Element& element)
{
    return element.getMetaData()->hasOutputComputeSets() && !element.isDynamic();
}

/// Whether any attribute takes its value from the element or an item of it; for arrays, it may do so as well.
bool hasReferents(const Element& element)
{
    return element.isAttributeArray() ? static_cast<const AttributeArray&>(element).getReferenceCount() != 0
                                      : static_cast<const Attribute&>(element).getReferents() != nullptr;
}

/// Calls @p visit for each attribute that shows the value of the element, or of an item of it, through references.
/// @param visit  returns false to pass over what references the attribute it got.
template <class Visit>
void forEachReferent(const Element& element, Visit visit)
{
    const auto visitAll = [&visit](const Attribute& attribute) {
        ReferencerWalk walk(attribute);
        bool descend = true;
        while (const Attribute* const referent = walk.step(descend))
            descend = visit(*referent);
    };
    if (!element.isAttributeArray())
        return visitAll(static_cast<const Attribute&>(element));
    const auto& array = static_cast<const AttributeArray&>(element);
    for (unsigned int i = 0; array.getReferenceCount() != 0 && i < array.getSize(); ++i)
        visitAll(*array.getAttribute(i));
}

/// dbu_nodeToPath() takes fewer names than this, and asking it in vain leaves an error in the log.
bool isTooDeepForAPath(const Node& node)
{
    constexpr unsigned int kDepthLimit = 512;
    unsigned int depth = 0;
    for (const Node* at = node.getParent(); at != nullptr && depth < kDepthLimit; at = at->getParent())
        ++depth;
    return depth == kDepthLimit;
}

/// Of an element that is to be prefetched. For one behind all others that fit, another will do.
std::uint16_t shortIndex(unsigned int element)
{
    return static_cast<std::uint16_t>(std::min(element, 0xFFFFu));
}

} // namespace

// --- Nodes ---

bool ComputeGraph::reserveNode()
{
    if (nodes_.size() < nodes_.capacity())
        return true;
    return succeeds([this] { nodes_.reserve(std::max<std::size_t>(nodes_.size() * 2, 8)); });
}

void ComputeGraph::addNode(Node& node)
{
    nodes_.push_back({kqx::AnchorHandle<Node>(&node)});
}

void ComputeGraph::clear()
{
    *this = ComputeGraph();
}

// --- What feeds what ---

/// Visits the computers of the element's own node that read it.
template <class Visit>
void ComputeGraph::forEachReader(const Element& element, Visit visit) const
{
    const Element& owner = outermost(element);
    const Index n = isInput(owner) ? indices_.find(owner.getNode()) : NodeIndex::kNone;
    if (n == NodeIndex::kNone)
        return;
    const ElementMetaData& metaData = *owner.getMetaData();
    const auto& sets = owner.getNode()->getNodeTemplate()->getElementOutputs();
    for (unsigned int i = 0; i < metaData.getOutputComputeSetSize(); ++i)
        visit(nodes_[n].firstComputer + sets[metaData.getOutputComputeSet() + i]);
}

/// A walk that gets long is taken to lead to one: a rebuild too many is cheaper than the same walk for every edit.
bool ComputeGraph::mayFeedAny(const Element& element)
{
    constexpr unsigned int kLongWalk = 64;
    bool feeds = isInput(outermost(element));
    unsigned int steps = 0;
    if (!feeds)
        forEachReferent(element, [&](const Attribute& referent) {
            feeds = feeds || isInput(outermost(referent)) || ++steps > kLongWalk;
            return !feeds;
        });
    return feeds;
}

// --- Rebuilding ---

void ComputeGraph::rebuild()
try
{
    dropDestroyedNodes();
    numberComputers();
    collectEdges();
    assignPriorities();
    sortEdges();
    prepareRuns();
}
catch (...)
{
    indices_.clear(); // so that nobody finds a computer that was not made
    throw;
}

void ComputeGraph::dropDestroyedNodes()
{
    const auto firstFree =
        std::remove_if(nodes_.begin(), nodes_.end(), [](const ComputedNode& computed) { return !computed.node; });
    nodes_.erase(firstFree, nodes_.end());
}

void ComputeGraph::numberComputers()
{
    indices_.reset(nodes_.size());
    computers_.clear();
    elements_.clear();
    for (Index n = 0; n < nodes_.size(); ++n)
    {
        Node& node = *nodes_[n].node.get();
        const NodeTemplate& nodeTemplate = *node.getNodeTemplate();
        indices_.insert(&node, n);
        nodes_[n].firstComputer = static_cast<Index>(computers_.size());
        nodes_[n].firstElement = static_cast<Index>(elements_.size());
        for (unsigned int i = 0; i < nodeTemplate.getElementCount(); ++i)
            elements_.push_back(node.getElement(i));
        for (unsigned int i = 0; i < nodeTemplate.getComputeSetCount(); ++i)
        {
            const ComputeSet& set = *nodeTemplate.getComputeSet(i);
            computers_.push_back({set.getComputeFunction(), set.getUserData(), n, 0, 0, 0,
                                  shortIndex(set.getInputs()[0]), shortIndex(set.getInputs()[set.getInputCount() - 1]),
                                  shortIndex(set.getOutputs()[0])});
        }
    }
}

void ComputeGraph::collectEdges()
{
    const auto count = static_cast<Index>(computers_.size());
    constexpr Index kNobody = 0xFFFFFFFFu;
    kqtl::pod_vector<Index> lastFeeder; // by computer: whose edges last led to it
    lastFeeder.resize(count, kNobody);
    edges_.clear();
    for (Index i = 0; i < count; ++i)
    {
        const auto addEdge = [&](Index dependant) {
            if (std::exchange(lastFeeder[dependant], i) != i) // each dependant once
                edges_.push_back(dependant);
        };
        computers_[i].firstEdge = static_cast<Index>(edges_.size());
        const ComputeSet& set = getSet(i);
        for (unsigned int output = 0; output < set.getOutputCount(); ++output)
        {
            const Element& element = getElement(i, set.getOutputs()[output]);
            forEachReader(element, addEdge);
            forEachReferent(element, [&](const Attribute& referent) {
                forEachReader(referent, addEdge);
                return true;
            });
        }
    }
    computers_.push_back({nullptr, nullptr, 0, static_cast<Index>(edges_.size()), 0, 0, 0, 0, 0});
}

void ComputeGraph::assignPriorities()
{
    constexpr std::uint32_t kInComponent = 1; // marks the members until their priority is known
    const auto dependants = [this](Index i) { return getDependants(i); };
    // Components come with what they lead to before them, so its priorities are known.
    forEachComponent(countComputers(), dependants, [&](std::span<const Index> members) {
        for (const Index member : members)
            computers_[member].queuedIn = kInComponent;
        std::uint32_t priority = 0;
        bool isCycle = members.size() > 1;
        for (const Index member : members)
            for (const Index dependant : getDependants(member))
            {
                isCycle = isCycle || dependant == member;
                if (computers_[dependant].queuedIn != kInComponent)
                    priority = std::max(priority, computers_[dependant].priority + 1);
            }
        for (const Index member : members)
        {
            computers_[member].priority = priority;
            computers_[member].queuedIn = 0;
        }
        if (isCycle)
            logCycle(members);
    });
}

/// Where the set is and what it writes, for a message.
kqx::String ComputeGraph::nameSet(Index computer) const
{
    const Node& node = *nodes_[computers_[computer].node].node.get();
    kqx::String name;
    if (isTooDeepForAPath(node) || dbu_nodeToPath(nullptr, &node, &name) != Status::kSuccess)
        name = node.getName();
    name += L".";
    name += getElement(computer, getSet(computer).getOutputs()[0]).getName();
    return name;
}

/// In as many lines as it takes, since one has its limit.
void ComputeGraph::logCycle(std::span<const Index> members) const
{
    constexpr unsigned int kNamesInALine = 16;
    constexpr std::size_t kCharactersInALine = 1900;
    const auto count = static_cast<unsigned int>(members.size());
    const wchar_t* format = L"Compute sets depend on each other in a cycle of %u: %s";
    kqx::String names;
    unsigned int named = 0;
    const auto endLine = [&] {
        logError(format, count, names.c_str());
        format = L"The cycle of %u goes on: %s";
        names.clear();
        named = 0;
    };
    for (const Index member : members)
    {
        const kqx::String name = nameSet(member);
        if (named == kNamesInALine || (named != 0 && names.size() + name.size() > kCharactersInALine))
            endLine();
        names += named++ == 0 ? L"'" : L", '";
        names += name;
        names += L"'";
    }
    endLine();
}

/// Dependants are queued in the order of their edges and taken last in, first out. Where each number's queue takes them
/// the other way round than the next greater one's, a run goes through the nodes in the order in which they were made, or
/// straight back, and so through memory that lies in a row, which a large tree needs a fifth less time for.
void ComputeGraph::sortEdges()
{
    const auto goesFirst = [this](Index a, Index b) {
        const bool isAscending = computers_[a].priority % 2 != 0;
        const bool isOtherAscending = computers_[b].priority % 2 != 0;
        if (isAscending != isOtherAscending)
            return isAscending;
        return isAscending ? a < b : a > b;
    };
    for (Index i = 0; i < countComputers(); ++i)
        std::sort(edges_.begin() + computers_[i].firstEdge, edges_.begin() + computers_[i + 1].firstEdge, goesFirst);
}

void ComputeGraph::prepareRuns()
{
    const Index count = countComputers();
    std::uint32_t greatest = 0;
    for (Index i = 0; i < count; ++i)
        greatest = std::max(greatest, computers_[i].priority);
    queue_.reset(count, greatest);
    order_.clear();
    order_.reserve(count);
    orders_ = 0;
}

// --- The parts of the graph ---

ComputeGraph::Index ComputeGraph::countComputers() const
{
    return computers_.empty() ? 0 : static_cast<Index>(computers_.size() - 1);
}

const ComputeSet& ComputeGraph::getSet(Index computer) const
{
    const ComputedNode& computed = nodes_[computers_[computer].node];
    return *computed.node.get()->getNodeTemplate()->getComputeSet(computer - computed.firstComputer);
}

Element& ComputeGraph::getElement(Index computer, unsigned int element) const
{
    return *elements_[nodes_[computers_[computer].node].firstElement + element];
}

std::span<const ComputeGraph::Index> ComputeGraph::getDependants(Index computer) const
{
    return {edges_.data() + computers_[computer].firstEdge, edges_.data() + computers_[computer + 1].firstEdge};
}

void ComputeGraph::getPriorities(const Node& node, kqx::SizeTArray& priorities) const
{
    priorities.clear();
    const Index n = indices_.find(&node);
    if (n == NodeIndex::kNone || nodes_[n].node.get() != &node)
        return;
    for (unsigned int set = 0; set < node.getNodeTemplate()->getComputeSetCount(); ++set)
        priorities.push_back(computers_[nodes_[n].firstComputer + set].priority);
}

// --- Running ---

void ComputeGraph::beginOrder()
{
    order_.clear();
    if (++orders_ != 0)
        return;
    for (Computer& computer : computers_) // once in four thousand million orders
        computer.queuedIn = 0;
    orders_ = 1;
}

void ComputeGraph::queue(Index computer)
{
    if (std::exchange(computers_[computer].queuedIn, orders_) != orders_)
        queue_.push(computer, computers_[computer].priority);
}

void ComputeGraph::orderAll()
{
    beginOrder();
    for (Index i = countComputers(); i-- > 0;) // of a priority, what is queued last comes first
        queue(i);
    while (!queue_.empty())
        order_.push_back(queue_.pop());
}

void ComputeGraph::orderFedBy(std::span<Element* const> written)
{
    beginOrder();
    if (!hasComputers())
        return;
    const auto queueReader = [this](Index computer) { queue(computer); };
    forEachFetched(written, [&](const Element& element) {
        if ((!isInput(outermost(element)) && !hasReferents(element)) || element.isDestroyed())
            return;
        forEachReader(element, queueReader);
        if (element.isAttributeArray()) // was resized: what items are referenced stay, with their values
            return;
        forEachReferent(element, [&](const Attribute& referent) {
            forEachReader(referent, queueReader);
            return !referent.hasFlag(ElementFlag::kDirty); // what is written itself has its own turn
        });
    });
    while (!queue_.empty())
    {
        const Index computer = queue_.pop();
        for (const Index dependant : getDependants(computer))
            queue(dependant);
        order_.push_back(computer);
    }
}

/// Has a node fetched that is soon to be computed, with what the computer reads and writes first.
void ComputeGraph::prefetchNode(Index computer) const
{
    const ComputedNode& computed = nodes_[computers_[computer].node];
    if (const Node* const node = computed.node.get())
        prefetchFlags(*node);
    prefetch(elements_[computed.firstElement + computers_[computer].firstInput]);
    prefetch(elements_[computed.firstElement + computers_[computer].firstOutput]);
}

/// Likewise, later, because it reads the elements: the links of those that take part in references.
void ComputeGraph::prefetchLinks(Index computer) const
{
    const ComputedNode& computed = nodes_[computers_[computer].node];
    if (!computed.node) // its elements are gone with it
        return;
    for (const auto index : {computers_[computer].firstInput, computers_[computer].lastInput})
        prefetch(NodeMemory::linksOf(*elements_[computed.firstElement + index]));
}

void ComputeGraph::run(DataInterface& data)
{
    for (std::size_t i = 0; i < order_.size(); ++i) // anew each time: a function may clear the graph
    {
        if (i + kPrefetchDistance < order_.size())
            prefetchNode(order_[i + kPrefetchDistance]);
        if (i + kPrefetchDistance / 2 < order_.size())
            prefetchLinks(order_[i + kPrefetchDistance / 2]);
        const Computer& computer = computers_[order_[i]];
        const ComputedNode& computed = nodes_[computer.node];
        Node* const node = computed.node.get();
        if (node != nullptr && computer.function != nullptr)
            computer.function(data, *node, elements_.data() + computed.firstElement, computer.userData);
    }
}

} // namespace db2
