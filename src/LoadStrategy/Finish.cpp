// The end of a load, when all nodes are there: references, the migrators' last word, legacy data.

#include <db2/LoadStrategy.h>

#include <db2/AttributeArray.h>
#include <db2/CoreManager.h>
#include <db2/EnumAttributeMetaDataDef.h>
#include <db2/Library.h>
#include <db2/Migrator.h>
#include <db2/Paths.h>
#include <db2/TreeUtilities.h>

#include "../OutOfMemory.h"
#include "../PathFault.h"

#include <cwchar>
#include <string_view>

namespace db2 {
namespace {

/// Where a path stops stepping from node to node.
const wchar_t* findElementStep(const wchar_t* path)
{
    while (*path != L'\0' && *path != L'.' && *path != L':')
        path += *path == L'\\' && path[1] != L'\0' ? 2 : 1;
    return path;
}

/// Whether a path's last step is the name of an attribute that needs no second look.
bool isPlainName(const wchar_t* step)
{
    return *step == L'.' && step[1] != L'\0' && step[1 + std::wcscspn(step + 1, L"|.:[]\\ \t\n")] == L'\0';
}

/// The name of the node that a path steps to first. @param rest  receives what follows it.
/// Throws std::bad_alloc.
std::wstring firstStep(const kqx::String& path, const wchar_t*& rest)
{
    std::wstring name;
    const wchar_t* at = path.c_str();
    if (*at == L'|')
        ++at;
    for (; *at != L'\0' && *at != L'|' && *at != L'.' && *at != L':'; ++at)
    {
        if (*at == L'\\' && at[1] != L'\0')
            name += *++at;
        else if (*at != L'\t' && *at != L'\n' && *at != L' ') // those belong to no name
            name += *at;
    }
    rest = at;
    return name;
}

bool isLegacyElementOf(const Node& node, const Element* element)
{
    for (unsigned int i = 0; i < node.getLegacyElementCount(); ++i)
        if (node.getLegacyElement(i) == element)
            return true;
    return false;
}

/// Whether a migrator has destroyed an attribute whose node stands: Element::isDestroyed() tells that of dynamic elements,
/// only their own flags or their array's of legacy elements and of items.
bool isGone(const Attribute& attribute)
{
    const AttributeArray* const array = attribute.getParentArray();
    return attribute.isDestroyed() || attribute.hasFlag(ElementFlag::kDestroyed) ||
           (array != nullptr && array->hasFlag(ElementFlag::kDestroyed));
}

} // namespace

Status LoadStrategy::finish()
{
    const Status status = makeReferences();
    if (status != Status::kSuccess)
        return status;
    for (Migrator* const migrator : migrators_)
        if (!migrator->onLoadSuccess(*loadParent_))
            return Status::kFailure;
    disposeOfLegacyElements();
    disposeOfLegacyNodes();
    logUnhandled();
    return Status::kSuccess;
}

// --- References ---

Status LoadStrategy::makeReferences()
{
    for (const DeferredReference& reference : references_)
    {
        if (reference.node.get() == nullptr || isGone(*reference.holder)) // a migrator saw to it
            continue;
        const Status status = makeReference(reference);
        if (status != Status::kSuccess)
            return status;
    }
    return Status::kSuccess;
}

Status LoadStrategy::makeReference(const DeferredReference& reference)
{
    Attribute* found = nullptr;
    const Status resolved = resolve(reference.path, &found);
    if (resolved != Status::kSuccess)
        return loseReference(reference, resolved, L"Failed to resolve attribute path '%s'");
    if (found->isLegacy() || reference.holder->isLegacy())
    {
        offerLegacyConnection(*found, *reference.holder);
        return Status::kSuccess;
    }
    const Status made = data_.db_createReference(found, reference.holder, reference.singleOutput);
    if (made != Status::kSuccess)
        return loseReference(reference, made, L"Failed to create reference for path '%s'");
    return Status::kSuccess;
}

/// @param message  for the log, with the path. @return whether the load goes on.
Status LoadStrategy::loseReference(const DeferredReference& reference, Status reason, const wchar_t* message) const
{
    if (onLostReference_ && reason != Status::kFailure)
    {
        onLostReference_(*reference.holder, reference.path.c_str(), reason);
        return Status::kSuccess;
    }
    logError(message, reference.path.c_str());
    return Status::kFailure;
}

/// By the last path when it led to the same node, else anew.
Status LoadStrategy::resolve(const kqx::String& path, Attribute** outAttribute)
{
    Status status = Status::kFailure; // also when memory runs out
    static_cast<void>(succeeds([&] {
        const wchar_t* const element = findElementStep(path.c_str());
        const std::wstring_view toNode(path.c_str(), static_cast<std::size_t>(element - path.c_str()));
        const Node* const last = lastReferenced_.node.get();
        if (last != nullptr && toNode == std::wstring_view(lastReferenced_.path) && isPlainName(element))
        {
            status = dbu_resolvePath(last, element, nullptr, nullptr, outAttribute, false, &migrators_);
            if (status == Status::kSuccess && *outAttribute != nullptr)
                return;
        }
        status = resolveAnew(path, outAttribute); // which also says what is wrong with it
        lastReferenced_.node.reset();
        if (status != Status::kSuccess)
            return;
        lastReferenced_.path.assign(toNode.data(), toNode.size());
        lastReferenced_.node = (*outAttribute)->getNode();
    }));
    return status;
}

/// Along the names that the file knows: its first step may lead to a node that got another name here, or that a migrator
/// has destroyed since; then whatever else bears the name is not meant. Throws std::bad_alloc.
Status LoadStrategy::resolveAnew(const kqx::String& path, Attribute** outAttribute)
{
    // The whole path, because what is behind the first step is resolved alone.
    const Status checked = onLostReference_ ? findPathFault(path.c_str()).status : dbu_validatePath(path.c_str());
    if (checked != Status::kSuccess)
        return checked;
    const wchar_t* rest = path.c_str();
    const Node* root = loadParent_;
    if (!renamedTopNodes_.empty())
    {
        const wchar_t* behindFirst = nullptr;
        const auto renamed = renamedTopNodes_.find(firstStep(path, behindFirst));
        if (renamed != renamedTopNodes_.end())
        {
            root = renamed->second.get(); // null resolves to nothing
            rest = behindFirst;
        }
    }
    const Status status = dbu_resolvePath(root, rest, nullptr, nullptr, outAttribute, false, &migrators_);
    if (status != Status::kSuccess || *outAttribute != nullptr)
        return status;
    if (!onLostReference_)
        logError(L"'%s' does not resolve to an attribute.", path.c_str());
    return Status::kPathNotAttribute;
}

void LoadStrategy::offerLegacyConnection(Attribute& found, Attribute& holder)
{
    lastReferenced_.node.reset(); // a migrator may move and rename
    for (Migrator* const migrator : migrators_)
        if (migrator->migrateLegacyConnection(&found, &holder))
            return;
    logError(L"Legacy connection between '%s' and '%s' was not handled", found.getName(), holder.getName());
    ++unhandledConnections_;
}

// --- Legacy data ---

void LoadStrategy::disposeOfLegacyElements()
{
    for (LegacyElement& legacy : legacyElements_)
        if (!countAndChoose(legacy))
            legacy.element = nullptr;
    // The last ones first: a node finds them without a search.
    for (std::size_t i = legacyElements_.size(); i-- > 0;)
        if (legacyElements_[i].element != nullptr)
            core_.destroyLegacyElement(legacyElements_[i].element);
}

/// Counts an element that nobody handled. @return whether it is to be destroyed.
bool LoadStrategy::countAndChoose(const LegacyElement& legacy)
{
    // Destroyed ones stay readable until a commit, which no migrator should have made; if one did, only those that
    // still stand on their nodes are.
    const bool allReadable = uncommitted_.get() != nullptr;
    const Node* const node = legacy.node.get(); // null when it was destroyed
    const bool stands = node != nullptr && (allReadable ? !legacy.element->hasFlag(ElementFlag::kDestroyed)
                                                        : isLegacyElementOf(*node, legacy.element));
    const bool wasDestroyed = node != nullptr && !stands;
    if (wasDestroyed || (!stands && !allReadable))
        return false;
    const bool isHandled = legacy.element->isLegacyElementHandled();
    if (!isHandled)
    {
        logError(L"Legacy element '%s' of type '%s' in node type '%s' not migrated", legacy.element->getName(),
                 ValueInfo::getTypeName(legacy.element->getTypeId()), legacy.element->getNode()->getTypeName().c_str());
        ++unhandledElements_;
    }
    return stands && (isHandled || !hasOption(kKeepUnhandledLegacyData));
}

/// Children before parents: the last ones made first.
void LoadStrategy::disposeOfLegacyNodes()
{
    for (std::size_t i = legacyNodes_.size(); i-- > 0;)
    {
        Node* const node = legacyNodes_[i].get();
        if (node == nullptr) // destroyed by a migrator
            continue;
        const bool isHandled = node->isLegacyNodeHandled();
        if (!isHandled)
        {
            logError(L"Legacy node of type '%s' not migrated.", node->getTypeName().c_str());
            ++unhandledNodes_;
        }
        if (isHandled || !hasOption(kKeepUnhandledLegacyData))
            dbu_destroyNodeButNotChildren(node, &data_);
    }
}

void LoadStrategy::logUnhandled() const
{
    if (unhandledNodes_ != 0)
        logError(L"There were %u unhandled legacy nodes.", unhandledNodes_);
    if (unhandledElements_ != 0)
        logError(L"There were %u unhandled legacy elements.", unhandledElements_);
    if (unhandledConnections_ != 0)
        logError(L"There were %u unhandled legacy connections.", unhandledConnections_);
}

} // namespace db2
