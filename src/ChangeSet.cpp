#include <db2/ChangeSet.h>

#include <db2/Node.h>

#include <algorithm>

namespace db2 {
namespace {

unsigned int depthOf(const Node* node)
{
    unsigned int depth = 0;
    while ((node = node->getParent()) != nullptr)
        ++depth;
    return depth;
}

// The two questions about elements that test the nodes' bits, as hosts know them.
constexpr std::uint32_t kRenamedAsOnNodes = NodeFlag::kRenamed;
constexpr std::uint32_t kDestroyedAsOnNodes = NodeFlag::kDestroyedNow;

} // namespace

bool BreadthFirstSortFunctor::operator()(const Node* a, const Node* b) const
{
    return depthOf(a) < depthOf(b);
}

ChangeSet::~ChangeSet() = default;

// --- Questions ---

bool ChangeSet::hasChanged(const Node* node)
{
    return node->hasFlag(NodeFlag::kChanged);
}

bool ChangeSet::hasChanged(const Attribute* attribute)
{
    return attribute->hasFlag(ElementFlag::kChanged);
}

bool ChangeSet::wasResized(const AttributeArray* array)
{
    return array->hasFlag(ElementFlag::kResized);
}

bool ChangeSet::wasRenamed(const Node* node)
{
    return node->hasFlag(NodeFlag::kRenamed);
}

bool ChangeSet::wasDestroyed(const Node* node)
{
    return node->hasFlag(NodeFlag::kDestroyedNow);
}

bool ChangeSet::wasRenamed(const Attribute* attribute)
{
    return attribute->hasFlag(kRenamedAsOnNodes);
}

bool ChangeSet::wasDestroyed(const Element* element)
{
    return element->hasFlag(kDestroyedAsOnNodes);
}

bool ChangeSet::hasChangedAny(const kqtl::pod_vector<Attribute*>& attributes)
{
    return std::any_of(attributes.begin(), attributes.end(), [](const Attribute* a) { return hasChanged(a); });
}

bool ChangeSet::hasChangedAll(const kqtl::pod_vector<Attribute*>& attributes)
{
    return std::all_of(attributes.begin(), attributes.end(), [](const Attribute* a) { return hasChanged(a); });
}

bool ChangeSet::wasRenamedAny(const kqtl::pod_vector<Attribute*>& attributes)
{
    return std::any_of(attributes.begin(), attributes.end(), [](const Attribute* a) { return wasRenamed(a); });
}

bool ChangeSet::wasRenamedAll(const kqtl::pod_vector<Attribute*>& attributes)
{
    return std::all_of(attributes.begin(), attributes.end(), [](const Attribute* a) { return wasRenamed(a); });
}

bool ChangeSet::hasTopologicalChange() const
{
    return CreatedNodeCount() != 0 || DestroyedNodeCount() != 0 || ReparentedNodeCount() != 0 ||
           CreatedDynamicAttributeCount() != 0 || DestroyedDynamicAttributeCount() != 0 ||
           CreatedDynamicAttributeArrayCount() != 0 || DestroyedDynamicAttributeArrayCount() != 0 ||
           ResizedAttributeArrayCount() != 0 || CreatedReferenceCount() != 0 || DestroyedReferenceCount() != 0;
}

// --- Either kind of element ---

void ChangeSet::addCreatedDynamicElement(Element* element)
{
    if (element->isAttributeArray())
        addCreatedDynamicAttributeArray(static_cast<AttributeArray*>(element));
    else
        addCreatedDynamicAttribute(static_cast<Attribute*>(element));
}

void ChangeSet::addDestroyedDynamicElement(Element* element)
{
    if (element->isAttributeArray())
        addDestroyedDynamicAttributeArray(static_cast<AttributeArray*>(element));
    else
        addDestroyedDynamicAttribute(static_cast<Attribute*>(element));
}

void ChangeSet::addRenamedDynamicElement(Element* element)
{
    if (element->isAttributeArray())
        addRenamedDynamicAttributeArray(static_cast<AttributeArray*>(element));
    else
        addRenamedDynamicAttribute(static_cast<Attribute*>(element));
}

void ChangeSet::removeCreatedDynamicElement(Element* element)
{
    if (element->isAttributeArray())
        removeCreatedDynamicAttributeArray(static_cast<AttributeArray*>(element));
    else
        removeCreatedDynamicAttribute(static_cast<Attribute*>(element));
}

void ChangeSet::removeDestroyedDynamicElement(Element* element)
{
    if (element->isAttributeArray())
        removeDestroyedDynamicAttributeArray(static_cast<AttributeArray*>(element));
    else
        removeDestroyedDynamicAttribute(static_cast<Attribute*>(element));
}

void ChangeSet::removeRenamedDynamicElement(Element* element)
{
    if (element->isAttributeArray())
        removeRenamedDynamicAttributeArray(static_cast<AttributeArray*>(element));
    else
        removeRenamedDynamicAttribute(static_cast<Attribute*>(element));
}

} // namespace db2
