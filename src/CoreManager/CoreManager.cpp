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

Status CoreManager::db_lockAttribute(Attribute* attribute, ValueHandle* outValue)
{
    const Status status = canLockAttribute(attribute);
    if (status != Status::kSuccess)
        return status;
    if (outValue == nullptr)
        return Status::kNullLockOutput;
    attribute->setFlag(ElementFlag::kLocked);
    ++locks_;
    *outValue = attribute->private_getValue();
    return Status::kSuccess;
}

Status CoreManager::db_unlockAttribute(Attribute* attribute)
{
    const Status status = canUnlockAttribute(attribute);
    if (status != Status::kSuccess)
        return status;
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
