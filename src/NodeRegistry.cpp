#include <db2/NodeRegistry.h>

#include <db2/Library.h>
#include <db2/NameHash.h>
#include <db2/Node.h>
#include <db2/NodeTemplate.h>
#include <db2/ValueInfo.h>

#include <kqx/Format.h>

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <iterator>

namespace db2 {
namespace {

constexpr unsigned int kRequestedCapacity = 128;

std::uint32_t typeNameHash(const NodeTemplate& nodeTemplate)
{
    return hashName(nodeTemplate.getTypeName().c_str(), nodeTemplate.getTypeName().size());
}

/// Writes the end of a line. The digits are plain ones whatever locale the stream has.
void writeLine(const wchar_t* before, std::size_t bytes, const wchar_t* behind)
{
    wchar_t digits[32];
    kqx::formatTextOf(digits, std::size(digits), L"%zu", bytes);
    std::wcout << before << digits << behind << std::endl;
}

} // namespace

NodeRegistry::NodeRegistry() : templatesById_(kRequestedCapacity), templatesByName_(kRequestedCapacity) {}

NodeRegistry::~NodeRegistry()
{
    for (unsigned int slot = templatesById_.firstSlot(); slot != UIntHashMap::kNoSlot;
         slot = templatesById_.nextSlot(slot))
        delete static_cast<NodeTemplate*>(templatesById_.valueAt(slot));
}

Status NodeRegistry::registerNodeTemplate(NodeTemplate* nodeTemplate)
{
    if (nodeTemplate == nullptr)
        return Status::kFailure;
    if (nodeTemplate->hasFlag(NodeTemplateFlag::kRegistered))
        return Status::kTemplateAlreadyRegistered;
    if (templatesById_.contains(nodeTemplate->getTypeId()))
        return Status::kDuplicateTypeId;
    const std::uint32_t nameHash = typeNameHash(*nodeTemplate);
    if (templatesByName_.contains(nameHash))
        return Status::kDuplicateTemplateName;

    if (!templatesByName_.reserveInsert() || !templatesById_.reserveInsert() || !nodeTemplate->freeze())
        return Status::kFailure;
    templatesByName_.insert(nameHash, nodeTemplate);
    templatesById_.insert(nodeTemplate->getTypeId(), nodeTemplate);
    nodeTemplate->setFlag(NodeTemplateFlag::kRegistered);
    return Status::kSuccess;
}

Status NodeRegistry::unregisterNodeTemplate(unsigned int typeId)
{
    NodeTemplate* const nodeTemplate = findTemplate(typeId);
    if (nodeTemplate == nullptr)
        return Status::kTemplateNotRegistered;
    if (nodeTemplate->getReferenceCount() != 0)
    {
        logError(L"Failed to unregister node template! Nodes are still using it.");
        return Status::kTemplateInUse;
    }
    if (!templatesById_.remove(typeId))
    {
        logError(L"Failed to unregister node template with id '%d'", typeId);
        return Status::kTemplateNotRegistered;
    }
    if (!templatesByName_.remove(typeNameHash(*nodeTemplate)))
    {
        logError(L"Failed to unregister node template '%s'", nodeTemplate->getTypeName().c_str());
        return Status::kTemplateNameNotRegistered;
    }
    delete nodeTemplate;
    return Status::kSuccess;
}

NodeTemplate* NodeRegistry::findTemplate(unsigned int typeId) const
{
    return static_cast<NodeTemplate*>(templatesById_.find(typeId));
}

const NodeTemplate* NodeRegistry::lookupNodeTemplate(unsigned int typeId) const
{
    return findTemplate(typeId);
}

const NodeTemplate* NodeRegistry::lookupNodeTemplate(const wchar_t* typeName) const
{
    return typeName != nullptr ? static_cast<NodeTemplate*>(templatesByName_.find(hashName(typeName))) : nullptr;
}

void NodeRegistry::getNodeTemplates(kqtl::pod_vector<const NodeTemplate*>& templates) const
{
    const auto before = static_cast<std::ptrdiff_t>(templates.size());
    templates.reserve(templates.size() + templatesById_.size());
    for (unsigned int slot = templatesById_.firstSlot(); slot != UIntHashMap::kNoSlot;
         slot = templatesById_.nextSlot(slot))
        templates.push_back(static_cast<const NodeTemplate*>(templatesById_.valueAt(slot)));
    std::sort(templates.begin() + before, templates.end(),
              [](const NodeTemplate* a, const NodeTemplate* b) { return a->getTypeId() < b->getTypeId(); });
}

void NodeRegistry::dumpMemoryRequirements() const
{
    writeLine(L"sizeof(Attribute)        = ", sizeof(Attribute), L"");
    writeLine(L"sizeof(Node)             = ", sizeof(Node), L"");
    std::wcout << std::endl;
    for (unsigned int type = 0; type < kAttributeTypeCount; ++type)
    {
        const auto typeId = static_cast<AttributeTypeId>(type);
        std::wcout << L"Attribute type '" << ValueInfo::getTypeName(typeId);
        writeLine(L"' requires ", ValueInfo::getMemoryRequirements(typeId).size, L" bytes");
    }
    std::wcout << std::endl;
    for (unsigned int slot = templatesById_.firstSlot(); slot != UIntHashMap::kNoSlot;
         slot = templatesById_.nextSlot(slot))
    {
        const auto* const nodeTemplate = static_cast<const NodeTemplate*>(templatesById_.valueAt(slot));
        std::wcout << L"Node type '" << nodeTemplate->getTypeName().c_str();
        writeLine(L"' requires ", nodeTemplate->getNodeMemoryRequirements().size, L" bytes");
    }
    std::wcout << std::endl;
}

} // namespace db2
