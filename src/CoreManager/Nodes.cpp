// The edits of nodes: create, destroy, rename, reparent, reorder.

#include <db2/CoreManager.h>

#include <db2/APIFactories.h>
#include <db2/NameHash.h>
#include <db2/NodeRegistry.h>

#include "../NodeMemory.h"
#include "../OutOfMemory.h"
#include "../WatchEvents.h"

#include <kqx/NumberText.h>

#include <utility>

namespace db2 {
namespace {

/// The length of the name without its trailing number. Leading zeros of the number stay, but of a number that is only
/// zeros the last one goes.
std::size_t lengthWithoutNumber(const kqx::String& name)
{
    const auto isDigit = [](wchar_t c) { return c >= L'0' && c <= L'9'; };
    std::size_t number = name.size();
    while (number > 0 && isDigit(name[number - 1]))
        --number;
    while (number + 1 < name.size() && name[number] == L'0')
        ++number;
    return number;
}

bool isEmpty(const wchar_t* text)
{
    return text == nullptr || *text == L'\0';
}

} // namespace

// --- Names ---

/// Finds the name that a node gets under @p parent: the wanted one, or one with a number that is free there. Siblings are
/// all that is asked, so the root, which has none, keeps its name.
/// @return false, changing nothing, when memory is out.
bool CoreManager::makeUniqueName(const wchar_t* wanted, const Node* parent, UniqueName& out) const
{
    out.nextNumber = nextUniqueNumber_;
    return succeeds([&] {
        out.text = wanted;
        out.hash = hashName(out.text.c_str(), out.text.size());
        while (parent != nullptr && parent->findChildByHash(out.hash) != nullptr)
        {
            out.text.assign(out.text.c_str(), lengthWithoutNumber(out.text));
            kqx::appendNumber(out.text, static_cast<int>(out.nextNumber++));
            out.hash = hashName(out.text.c_str(), out.text.size());
        }
    });
}

void CoreManager::takeName(Node& node, UniqueName& name)
{
    node.name_.swap(name.text);
    node.nameHash_ = name.hash;
    nextUniqueNumber_ = name.nextNumber;
}

// --- Creation ---

/// The common part of all creations. Takes all memory first: the name, a place in the parent's index, and last the node
/// itself, because making it calls the host's factory.
template <class MakeNode>
Status CoreManager::addNode(const wchar_t* name, const wchar_t* typeName, Node* parent, Node* next, MakeNode makeNode,
                            Node** outNode)
{
    if (parent == nullptr)
        parent = root_;
    UniqueName unique;
    if (!makeUniqueName(isEmpty(name) ? typeName : name, parent, unique) || !parent->reserveChildEntry())
        return Status::kFailure;
    Node* const node = pendingNode_ != nullptr ? bringBack(unique) : makeNode(unique);
    if (node == nullptr)
        return Status::kFailure;
    node->linkUnder(parent, next);
    parent->enterChild(node);
    count(*node, 1);
    if (outNode != nullptr)
        *outNode = node;
    return Status::kSuccess;
}

Status CoreManager::db_createNode(unsigned int typeId, const wchar_t* name, Node* parent, Node* next, Node** outNode)
{
    NodeTemplate* const found = registry_->findTemplate(typeId);
    const Status status = checkCreateNode(found, parent, next);
    if (status != Status::kSuccess)
        return status;
    NodeTemplate& nodeTemplate = *found;
    return addNode(
        name, nodeTemplate.getTypeName().c_str(), parent, next,
        [&](UniqueName& unique) { return makeNode(nodeTemplate, unique); }, outNode);
}

Status CoreManager::db_createUnknownNode(const wchar_t* typeName, const Module& module, const wchar_t* name,
                                         Node* parent, Node* next, bool legacy, Node** outNode)
{
    const Status status = canCreateUnknownNode(parent, next);
    if (status != Status::kSuccess)
        return status;
    return addNode(
        name, typeName, parent, next,
        [&](UniqueName& unique) { return makeUnknownNode(typeName, module, legacy, unique); }, outNode);
}

/// The node that undo gave back; it has kept its elements and values.
Node* CoreManager::bringBack(UniqueName& name)
{
    Node* const node = std::exchange(pendingNode_, nullptr);
    undo_cancelArchiveNode(*node);
    node->clearFlag(NodeFlag::kDestroyed);
    takeName(*node, name);
    return node;
}

/// The root is made like any node, but has no parent to be linked under and no siblings to be told from.
void CoreManager::makeRoot(unsigned int typeId)
{
    NodeTemplate* const nodeTemplate = registry_->findTemplate(typeId);
    UniqueName name;
    if (nodeTemplate == nullptr || !makeUniqueName(L"Root", nullptr, name))
        return;
    root_ = makeNode(*nodeTemplate, name);
    if (root_ != nullptr)
        count(*root_, 1);
}

/// @return null, with the name untouched, when memory is out.
Node* CoreManager::makeNode(NodeTemplate& nodeTemplate, UniqueName& name)
{
    Node* const node = NodeMemory::make(nodeTemplate);
    if (node == nullptr)
        return nullptr;
    takeName(*node, name);
    if (APIBaseFactory* const factory = nodeTemplate.getAPINodeFactory())
        node->api_ = factory->createNodeAPI(node, userData_);
    return node;
}

Node* CoreManager::makeUnknownNode(const wchar_t* typeName, const Module& module, bool legacy, UniqueName& name)
{
    Node* const node = NodeMemory::makeUnknown(typeName, module);
    if (node == nullptr)
        return nullptr;
    node->setFlag(legacy ? NodeFlag::kUnknown | NodeFlag::kLegacy : NodeFlag::kUnknown);
    takeName(*node, name);
    unsigned int typeId = 0;
    if (UnknownAPINodeFactory* const factory = legacy ? legacyFactory_ : unknownFactory_)
        node->api_ = factory->createNodeAPI(node, userData_, &typeId);
    node->template_->setTypeId(typeId);
    return node;
}

/// @param change  1 for a node that comes into the tree, the negative for one that leaves it.
void CoreManager::count(const Node& node, std::uint32_t change)
{
    statistics_.nodes += change;
    if (node.isUnknown())
        statistics_.unknownNodes += change;
    if (node.isLegacy())
        statistics_.legacyNodes += change;
    statistics_.elements += change * node.template_->getElementCount();
    statistics_.legacyElements += change * node.getLegacyElementCount();
}

// --- Destruction ---

Status CoreManager::db_destroyLeafNode(Node* node)
{
    const Status status = canDestroyLeafNode(node);
    if (status != Status::kSuccess)
        return status;
    if (!node->hasFlag(NodeFlag::kInUndo) && !reserveNodeGarbage())
        return Status::kFailure;
    takeOut(*node);
    return Status::kSuccess;
}

/// Takes a leaf out of the tree; what undo holds is undo's, everything else is garbage. Needs room on the garbage list.
void CoreManager::takeOut(Node& node)
{
    node.parent_->removeChildEntry(&node);
    node.unlink();
    node.setFlag(NodeFlag::kDestroyed);
    if (!node.hasFlag(NodeFlag::kInUndo))
        nodeGarbage_.push_back(&node);
    count(node, ~std::uint32_t{0});
    node.clearHandles();
    if (node.hasFlag(NodeFlag::kWatched))
        ++WatchEvents::nodesTakenOut;
}

// --- Rename and move ---

Status CoreManager::db_renameNode(Node* node, const wchar_t* name)
{
    const Status status = canRenameNode(node, name);
    if (status != Status::kSuccess)
        return status;
    Node& parent = *node->parent_;
    UniqueName newName;
    newName.hash = hashName(name);
    newName.nextNumber = nextUniqueNumber_;
    if (!succeeds([&] { newName.text = name; }) || !parent.reserveRenamedEntry())
        return Status::kFailure;
    parent.removeChildEntry(node);
    takeName(*node, newName);
    parent.enterChild(node);
    return Status::kSuccess;
}

Status CoreManager::db_reparentNode(Node* node, Node* newParent, Node* next, const wchar_t* name)
{
    const Status status = canReparentNode(node, newParent, next);
    if (status != Status::kSuccess)
        return status;
    const wchar_t* wanted = name != nullptr ? name : node->name_.c_str();
    if (*wanted == L'\0')
        wanted = node->getTypeName().c_str();
    UniqueName unique;
    if (!makeUniqueName(wanted, newParent, unique) || !newParent->reserveChildEntry())
        return Status::kFailure;

    node->parent_->removeChildEntry(node);
    node->unlink();
    takeName(*node, unique);
    node->linkUnder(newParent, next);
    newParent->enterChild(node);
    return Status::kSuccess;
}

Status CoreManager::db_reorderNode(Node* node, Node* next)
{
    const Status status = canReorderNode(node, next);
    if (status != Status::kSuccess)
        return status;
    Node* const parent = node->parent_;
    node->unlink();
    node->linkUnder(parent, next);
    return Status::kSuccess;
}

} // namespace db2
