#include "ComputeGraph.h"

#include "../ReferencerWalk.h"
#include "Components.h"

#include <db2/Library.h>
#include <db2/NodeTemplate.h>

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

} // namespace

// --- Nodes ---

void ComputeGraph::addNode(Node& node)
{
    const auto [place, isNew] = indices_.emplace(&node, static_cast<Index>(nodes_.size()));
    if (!isNew)
        return;
    try
    {
        nodes_.push_back({kqx::AnchorHandle<Node>(&node), 0, 0});
    }
    catch (...)
    {
        indices_.erase(place);
        throw;
    }
}

void ComputeGraph::removeNode(const Node& node)
{
    const auto found = indices_.find(&node);
    if (found == indices_.end())
        return;
    const Index gap = found->second;
    indices_.erase(found);
    const Index last = static_cast<Index>(nodes_.size()) - 1;
    if (gap != last)
    {
        nodes_[gap] = nodes_[last];
        if (const Node* const moved = nodes_[gap].node.get())
            indices_[moved] = gap;
    }
    nodes_.pop_back();
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
    const auto found = isInput(owner) ? indices_.find(owner.getNode()) : indices_.end();
    if (found == indices_.end())
        return;
    const ElementMetaData& metaData = *owner.getMetaData();
    const auto& sets = owner.getNode()->getNodeTemplate()->getElementOutputs();
    for (unsigned int i = 0; i < metaData.getOutputComputeSetSize(); ++i)
        visit(nodes_[found->second].firstComputer + sets[metaData.getOutputComputeSet() + i]);
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
{
    numberComputers();
    collectEdges();
    assignPriorities();
    sortByPriority();
    lastOrder_.clear();
    queue_.reset(byPriority_.size(), byPriority_.empty() ? 0 : computers_[byPriority_.front()].priority);
}

void ComputeGraph::numberComputers()
{
    // Nodes that an inner layer destroyed unseen.
    std::erase_if(nodes_, [](const ComputedNode& computed) { return !computed.node; });
    indices_.clear();
    computers_.clear();
    elements_.clear();
    for (Index n = 0; n < nodes_.size(); ++n)
    {
        Node& node = *nodes_[n].node.get();
        indices_.emplace(&node, n);
        nodes_[n].firstComputer = static_cast<Index>(computers_.size());
        nodes_[n].elements = elements_.size();
        for (unsigned int i = 0; i < node.getNodeTemplate()->getElementCount(); ++i)
            elements_.push_back(node.getElement(i));
        for (Index set = 0; set < node.getNodeTemplate()->getComputeSetCount(); ++set)
            computers_.push_back({n, set, 0, 0, 0});
    }
}

void ComputeGraph::collectEdges()
{
    edges_.clear();
    edgeMarks_.assign(computers_.size(), 0);
    for (std::size_t i = 0; i < computers_.size(); ++i)
    {
        computers_[i].firstEdge = static_cast<Index>(edges_.size());
        const ComputedNode& computed = nodes_[computers_[i].node];
        const ComputeSet& set = *computed.node.get()->getNodeTemplate()->getComputeSet(computers_[i].set);
        for (unsigned int output = 0; output < set.getOutputCount(); ++output)
        {
            const auto addEdge = [&](Index dependant) {
                if (std::exchange(edgeMarks_[dependant], i + 1) != i + 1) // each dependant once
                    edges_.push_back(dependant);
            };
            const Element& element = *elements_[computed.elements + set.getOutputs()[output]];
            forEachReader(element, addEdge);
            forEachReferent(element, [&](const Attribute& referent) {
                forEachReader(referent, addEdge);
                return true;
            });
        }
    }
    computers_.push_back({0, 0, static_cast<Index>(edges_.size()), 0, 0});
}

void ComputeGraph::assignPriorities()
{
    const auto count = static_cast<Index>(computers_.size() - 1);
    const auto edgesOf = [this](Index i) {
        return std::span(edges_.data() + computers_[i].firstEdge,
                         computers_[i + 1].firstEdge - computers_[i].firstEdge);
    };
    // Components come with what they lead to before them, so its priorities are known.
    forEachComponent(count, edgesOf, [&](std::span<const Index> members) {
        for (const Index member : members)
            computers_[member].queuedIn = 1; // marks the component until its priority is known
        std::uint32_t priority = 0;
        bool isCycle = members.size() > 1;
        for (const Index member : members)
            for (const Index dependant : edgesOf(member))
            {
                isCycle = isCycle || dependant == member;
                if (computers_[dependant].queuedIn == 0)
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
    run_ = 0;
}

void ComputeGraph::logCycle(std::span<const Index> members) const
{
    constexpr std::size_t kNamed = 8; // enough to find it by; a line has its limit
    kqx::String names;
    for (std::size_t i = 0; i < std::min(members.size(), kNamed); ++i)
    {
        const Computer& computer = computers_[members[i]];
        const Node& node = *nodes_[computer.node].node.get();
        const ComputeSet& set = *node.getNodeTemplate()->getComputeSet(computer.set);
        names += i == 0 ? L"'" : L", '";
        names += node.getName();
        names += L".";
        names += elements_[nodes_[computer.node].elements + set.getOutputs()[0]]->getName();
        names += L"'";
    }
    logError(L"Compute sets depend on each other in a cycle of %u: %s%s", static_cast<unsigned int>(members.size()),
             names.c_str(), members.size() > kNamed ? L", ..." : L"");
}

void ComputeGraph::sortByPriority()
{
    byPriority_.resize(computers_.size() - 1);
    for (Index i = 0; i < byPriority_.size(); ++i)
        byPriority_[i] = i;
    std::stable_sort(byPriority_.begin(), byPriority_.end(),
                     [this](Index a, Index b) { return computers_[a].priority > computers_[b].priority; });
}

void ComputeGraph::getPriorities(const Node& node, kqx::SizeTArray& priorities) const
{
    priorities.clear();
    const auto found = indices_.find(&node);
    if (found == indices_.end() || computers_.empty())
        return;
    const Index first = nodes_[found->second].firstComputer;
    for (Index set = 0; set < node.getNodeTemplate()->getComputeSetCount(); ++set)
        priorities.push_back(computers_[first + set].priority);
}

// --- Running ---

void ComputeGraph::runOne(const Computer& computer, DataInterface& data)
{
    const ComputedNode& computed = nodes_[computer.node];
    Node* const node = computed.node.get();
    if (node == nullptr)
        return;
    const ComputeSet& set = *node->getNodeTemplate()->getComputeSet(computer.set);
    if (const ComputeFunction function = set.getComputeFunction())
        function(data, *node, elements_.data() + computed.elements, set.getUserData());
}

void ComputeGraph::runAll(DataInterface& data)
{
    for (const Index computer : byPriority_)
        runOne(computers_[computer], data);
}

void ComputeGraph::queueFedBy(const kqtl::pod_vector<Element*>& written)
{
    while (!queue_.empty()) // of a run that a throwing function ended
        queue_.pop();
    ++run_;
    const auto queueReader = [this](Index computer) { queue(computer); };
    for (const Element* const element : written)
    {
        if (element->isDestroyed())
            continue;
        forEachReader(*element, queueReader);
        forEachReferent(*element, [&](const Attribute& referent) {
            forEachReader(referent, queueReader);
            return !referent.hasFlag(ElementFlag::kDirty); // what is written itself has its own turn
        });
    }
}

void ComputeGraph::runQueued(DataInterface& data)
{
    lastOrder_.clear();
    lastOrder_.reserve(byPriority_.size());
    while (!queue_.empty())
    {
        const Index computer = queue_.pop();
        for (Index edge = computers_[computer].firstEdge; edge < computers_[computer + 1].firstEdge; ++edge)
            queue(edges_[edge]);
        lastOrder_.push_back(computer);
        runOne(computers_[computer], data);
    }
}

void ComputeGraph::queue(Index computer)
{
    if (std::exchange(computers_[computer].queuedIn, run_) != run_)
        queue_.push(computer, computers_[computer].priority);
}

void ComputeGraph::runAgain(DataInterface& data)
{
    for (const Index computer : lastOrder_)
        runOne(computers_[computer], data);
}

} // namespace db2
