// Construction and end of CoreManager, its commits, and the locks. The edits stand beside this file, by what they edit.

#include <db2/CoreManager.h>

#include <db2/ValueHandle.h>

namespace db2 {
namespace {

// Reserved so large that deleting a big subtree does not reallocate in the middle.
constexpr std::size_t kReservedNodeGarbage = 32768;
constexpr std::size_t kReservedElementGarbage = 4096;

} // namespace

// --- Construction ---

CoreManager::CoreManager(const NodeRegistry& registry, unsigned int rootTypeId, UnknownAPINodeFactory* unknownFactory,
                         UnknownAPINodeFactory* legacyFactory, void* userData)
    : registry_(&registry), userData_(userData), unknownFactory_(unknownFactory), legacyFactory_(legacyFactory)
{
    nodeGarbage_.reserve(kReservedNodeGarbage);
    elementGarbage_.reserve(kReservedElementGarbage);
    makeRoot(rootTypeId);
}

CoreManager::~CoreManager()
{
    freeTree();
}

// --- Locks ---

/// What canLockAttribute() says yes to most often, found with two reads. False says nothing.
bool CoreManager::isPlainlyLockable(const Attribute& attribute) const
{
    constexpr std::uint32_t kUnusual = ElementFlag::kArray | ElementFlag::kArrayItem | ElementFlag::kLocked |
                                       ElementFlag::kInUndo | ElementFlag::kDestroyed;
    if (attribute.hasAnyFlag(kUnusual) || attribute.getReference() != nullptr)
        return false;
    const Node* const node = attribute.getNode();
    return !node->hasAnyFlag(NodeFlag::kInUndo | NodeFlag::kDestroyed) && node != root_;
}

Status CoreManager::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    if (attribute == nullptr || !isPlainlyLockable(*attribute))
    {
        const Status status = canLockAttribute(attribute);
        if (status != Status::kSuccess)
            return status;
    }
    if (outValue == nullptr)
        return Status::kNullLockOutput;
    attribute->setFlag(ElementFlag::kLocked);
    ++locks_;
    *outValue = attribute->private_getValue();
    return Status::kSuccess;
}

Status CoreManager::db_unlockAttribute(Attribute* attribute)
{
    if (attribute == nullptr || !attribute->isLocked())
        return canUnlockAttribute(attribute);
    attribute->clearFlag(ElementFlag::kLocked);
    --locks_;
    return Status::kSuccess;
}

Status CoreManager::db_lockAttributeArray(AttributeArray* array, void** outValues)
{
    const Status status = canLockAttributeArray(array);
    if (status != Status::kSuccess)
        return status;
    if (outValues == nullptr)
        return Status::kNullLockOutput;
    array->setFlag(ElementFlag::kLocked);
    ++locks_;
    *outValues = array->getSize() != 0 ? array->values_ : nullptr;
    return Status::kSuccess;
}

Status CoreManager::db_unlockAttributeArray(AttributeArray* array)
{
    const Status status = canUnlockAttributeArray(array);
    if (status != Status::kSuccess)
        return status;
    array->clearFlag(ElementFlag::kLocked);
    --locks_;
    return Status::kSuccess;
}

// --- Units of work ---

Status CoreManager::db_commit(const wchar_t*, const wchar_t*, unsigned int)
{
    const Status status = canCommit();
    if (status == Status::kSuccess)
        collectGarbage();
    return status;
}

Status CoreManager::db_commitTransient()
{
    return canCommit();
}

} // namespace db2
