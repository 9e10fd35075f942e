#include <db2/SaveStrategy.h>

#include <db2/AttributeArray.h>
#include <db2/Library.h>
#include <db2/Module.h>
#include <db2/Node.h>
#include <db2/NodeIterators.h>
#include <db2/OutputStream.h>
#include <db2/Paths.h>

#include "OutOfMemory.h"
#include "SameValue.h"

#include <algorithm>

namespace db2 {
namespace {

bool takesPartInReference(const Attribute& attribute)
{
    return attribute.getReference() != nullptr || attribute.getReferents() != nullptr;
}

/// The modules of the nodes of the subtrees, by their registration. Throws std::bad_alloc.
kqtl::pod_vector<Module*> listModules(const kqtl::pod_vector<Node*>& roots)
{
    kqtl::pod_vector<Module*> modules;
    std::unordered_set<const Module*> known;
    const Module* last = nullptr; // neighbours are mostly of one module
    for (const Node* const root : roots)
    {
        ConstNodeIterator nodes(root);
        nodes.includeRoot(true);
        while (nodes.next())
        {
            const Module* const module = nodes.node()->getModule();
            if (module != last && known.insert(module).second)
                modules.push_back(const_cast<Module*>(module));
            last = module;
        }
    }
    std::stable_sort(modules.begin(), modules.end(), [](const Module* a, const Module* b) {
        return a->getRegistrationOrder() < b->getRegistrationOrder();
    });
    return modules;
}

} // namespace

SaveStrategy::SaveStrategy(OutputStream& stream, const wchar_t* typeString, unsigned int loaderVersion,
                           unsigned int options)
    : stream_(stream), typeString_(typeString), loaderVersion_(loaderVersion), options_(options)
{
    if (typeString_.empty())
        logError(L"A type string must be supplied to SaveStrategy");
}

SaveStrategy::~SaveStrategy() = default;

Status SaveStrategy::onPostSave()
{
    return Status::kSuccess;
}

// --- Choosing what to save ---

Status SaveStrategy::refuse(const wchar_t* message, const Node* node) const
{
    logError(message, node != nullptr ? node->getName().c_str() : nullptr);
    return Status::kFailure;
}

Status SaveStrategy::addNode(Node* node)
{
    if (node == nullptr)
        return refuse(L"Saver::addNode() failed. Null node passed in");
    if (node->getParent() == nullptr)
        return refuse(L"Saver::addNode() failed. The root node itself cannot be saved. Use 'addChildNodes' if you'd "
                      L"like to save its children.");
    if (rootSet_.count(node) != 0)
        return refuse(L"Node '%s' added twice to SaveStrategy", node);
    for (const Node* above = node->getParent(); above != nullptr; above = above->getParent())
        if (rootSet_.count(above) != 0)
            return refuse(L"Node '%s' already has an ancestor added for save. Only separate subtrees can be saved. ",
                          node);
    if (aboveAnyRoot_.count(node) != 0)
        return refuse(L"Node '%s' already has a descendant added for save. Only separate subtrees can be saved. ",
                      node);

    if (!reserveOneMore(roots_) || !enter(*node))
        return refuse(L"Memory is out while node '%s' is added for save", node);
    roots_.push_back(node);
    node->setFlag(NodeFlag::kAddedForSave);
    return Status::kSuccess;
}

/// Enters a root and its ancestors into the sets. @return false, changing nothing, when memory is out.
bool SaveStrategy::enter(const Node& root)
{
    const Node* above = root.getParent();
    const bool entered = succeeds([&] {
        while (above != nullptr && aboveAnyRoot_.insert(above).second)
            above = above->getParent();
        rootSet_.insert(&root);
    });
    for (const Node* node = root.getParent(); !entered && node != above; node = node->getParent())
        aboveAnyRoot_.erase(node);
    return entered;
}

Status SaveStrategy::addChildNodes(Node* node)
{
    if (node == nullptr)
        return refuse(L"Saver::addChildNodes() failed. Null node passed in");
    for (Node* child = node->getFirstChild(); child != nullptr; child = child->getNextSibling())
        addNode(child);
    return Status::kSuccess;
}

// --- Saving ---

Status SaveStrategy::save()
{
    const Status status = saveAll();
    for (Node* const root : roots_)
        root->clearFlag(NodeFlag::kAddedForSave);
    return status;
}

Status SaveStrategy::saveAll()
{
    if (!stream_.isOK())
        return refuse(L"File is not OK to write to");
    kqtl::pod_vector<Module*> modules;
    if (!succeeds([&] { modules = listModules(roots_); }))
        return refuse(L"Memory is out while saving");
    Status status = saveHeader(modules);
    for (std::size_t i = 0; status == Status::kSuccess && i < roots_.size(); ++i)
        status = saveSubtree(*roots_[i]);
    return status == Status::kSuccess ? onPostSave() : status;
}

// --- For formats ---

bool SaveStrategy::shouldSaveAttribute(const Attribute& attribute) const
{
    const bool isNotToBeSaved = attribute.hasMetaDataFlag(ElementMetaDataFlag::kDontSave);
    if (hasOption(kSaveEverything) || (attribute.isDynamic() && !isNotToBeSaved))
        return true;
    if (attribute.isUnknown() || takesPartInReference(attribute))
        return true;
    if (isNotToBeSaved)
        return false;
    if (attribute.hasMetaDataFlag(ElementMetaDataFlag::kAlwaysSave))
        return true;
    return !attribute.isComputed() && differsFromDefault(attribute);
}

bool SaveStrategy::shouldSaveAttributeArray(const AttributeArray& array) const
{
    return hasOption(kSaveEverything) || array.isDynamic() || array.isUnknown() || array.getSize() != 0;
}

bool SaveStrategy::shouldSaveValue(const Attribute& attribute) const
{
    if (hasOption(kSaveEverything) || attribute.isDynamic())
        return true;
    if (attribute.isUnknown() && !wasLoadedWithoutValue(attribute))
        return true;
    // The loaded file had no value for this one. What the host has written since is asked on, like any other value.
    if (attribute.isUnknown() && lacksValue(attribute))
        return false;
    if (attribute.hasMetaDataFlag(ElementMetaDataFlag::kAlwaysSave))
        return true;
    if (attribute.isComputed() || attribute.hasMetaDataFlag(ElementMetaDataFlag::kDontSave))
        return false;
    return differsFromDefault(attribute);
}

bool SaveStrategy::shouldSaveAllAttributeArrayElements(const AttributeArray& array) const
{
    if (hasOption(kSaveEverything))
        return true;
    for (unsigned int i = 0; i < array.getSize(); ++i)
    {
        const Attribute& item = *array.getAttribute(i);
        if (item.getReference() == nullptr && !shouldSaveValue(item))
            return false;
    }
    return true;
}

bool SaveStrategy::isRoot(const Node& node) const
{
    // The set alone knows: the flag may be another saver's, and that one's save clears it.
    return rootSet_.count(&node) != 0;
}

Status SaveStrategy::convertReferenceToPath(const Attribute& target, kqx::String& path) const
{
    const Node* root = target.getNode();
    while (root != nullptr && !isRoot(*root))
        root = root->getParent();
    if (root == nullptr && hasOption(kTolerateOutsideReferences))
        return Status::kReferenceNotSaved;
    if (root == nullptr)
        return refuse(L"Error resolving saveRoot in SaveStrategy::getPathToSave()");
    if (root->getParent() == nullptr)
        return refuse(L"Error resolving path terminator in SaveStrategy::getPathToSave()");
    return dbu_attributeToPath(root->getParent(), &target, &path);
}

} // namespace db2
